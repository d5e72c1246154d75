#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "benchmarks/Options.hpp"
#include "benchmarks/Sample.hpp"
#include "benchmarks/SampleLibrary.hpp"

namespace kelto::bench {

/// A folder for temporary files, which goes with its owner.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    [[nodiscard]] const std::string& path() const { return path_; }

private:
    std::string path_;
};

/// All processes of a run, one after the other, and what they measured. Nothing that was made for
/// one measurement is removed before the end, because a file system that has just deleted thousands
/// of files is a slower one; only the files of W7, few and huge, go at once.
class Campaign {
public:
    explicit Campaign(const Options& options) : options_(options) {}

    /// W1 to W7 as far as they are wanted.
    void runWorkloads();
    /// Only W1, on libraries with tiny payloads.
    void runGrowth();

    [[nodiscard]] const std::vector<Sample>& samples() const { return samples_; }
    /// What was left out, and why.
    [[nodiscard]] const std::vector<std::string>& omissions() const { return omissions_; }

private:
    void measure(const SampleShape& shape);
    void measureOn(const SampleShape& shape, const std::string& folder);
    void measureLarge();
    [[nodiscard]] bool hasRoom(const std::string& what, double bytes);
    [[nodiscard]] std::size_t imports(const SampleShape& shape) const;
    void runJob(const std::string& job,
                const SampleShape& shape,
                const std::string& folder,
                std::size_t sample = 0);
    void report(const std::string& what) const;

    const Options& options_;
    TemporaryFolder folder_;
    std::vector<Sample> samples_;
    std::vector<std::string> omissions_;
};

}  // namespace kelto::bench
