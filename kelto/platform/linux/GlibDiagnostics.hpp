#pragma once

#include "kelto/platform/Diagnostics.hpp"

namespace kelto {

/// GLib's structured log, domain "kelto", level debug: `G_MESSAGES_DEBUG=kelto` shows the events,
/// and a reader of fields, such as the journal, finds the words and numbers apart from the message.
class GlibDiagnostics final : public Diagnostics {
public:
    /// As GLib's own writer decides, also for a host that has set a writer of its own.
    [[nodiscard]] bool isWanted() override;
    void tell(const DiagnosticEvent& event) override;
};

}  // namespace kelto
