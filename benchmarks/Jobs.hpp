#pragma once

#include "benchmarks/Options.hpp"

namespace kelto::bench {

// What the processes of a run do. Each tells its samples to the process that started it, and throws
// when a response is not what it must be.

/// W3: one first import into a new store. Leaves a library for the other jobs.
void runImport(const Options& options);
/// W1, and W1 with the keys of all records in another order each time. W5 is the same on a linked
/// folder.
void runUnchanged(const Options& options);
/// Memory after W1, in a process that keeps nothing of its own.
void runResident(const Options& options);
/// Exchanges until the store knows the host's files again, which it does once they have aged; tells
/// no sample.
void runSettling(const Options& options);
/// W4: one first exchange of a process on an existing store.
void runFirst(const Options& options);
/// W2.
void runEdited(const Options& options);
/// W6, with a process of its own that changes items when told so.
void runForeign(const Options& options);
void runForeignWriter(const Options& options);
/// W7: one payload of gigabytes, imported and exported.
void runLarge(const Options& options);

}  // namespace kelto::bench
