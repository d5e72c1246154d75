#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "kelto/foundation/Sha256.hpp"

namespace kelto::bench {

/// An open file descriptor, closed with its owner.
class Descriptor {
public:
    explicit Descriptor(int number, const std::string& what);
    ~Descriptor();
    Descriptor(Descriptor&& other) noexcept;
    Descriptor& operator=(Descriptor&&) = delete;
    [[nodiscard]] int number() const { return number_; }

private:
    int number_;
};

/// What the floor does with files: the fewest system calls that do it, and one buffer for all.
class FloorFiles {
public:
    /// `exchangeFolder` holds the payload files of requests, `scratchFolder` the appended payloads.
    FloorFiles(const std::string& exchangeFolder, const std::string& scratchFolder);

    /// Files are written to this folder from now on, which is made. A folder of its own for each
    /// run, since replacing a file costs more than making one.
    void writeInto(const std::string& folder);

    /// Asks the file system once about a payload file, and answers its size.
    [[nodiscard]] std::size_t examine(std::string_view path);
    /// Reads a new payload once: hashes it, and appends it to the file of all payloads.
    [[nodiscard]] Digest take(std::string_view path, std::size_t size);
    /// Makes what was appended durable.
    void flush();
    /// Writes a file of that size for the host. Its bytes come for free, out of the buffer.
    void give(std::string_view path, std::size_t size);

private:
    /// A folder below the exchange folder that payload paths name, opened once.
    struct Folder {
        std::string prefix;
        Descriptor descriptor;
    };

    /// Ends the path's name with NUL in name_, and answers the open folder that it lies in.
    [[nodiscard]] int locate(std::string_view path);
    void open(const std::string& prefix);
    [[nodiscard]] Descriptor create();

    std::vector<Folder> folders_;
    std::vector<Descriptor> outgoing_;  ///< the last one counts
    Descriptor payloads_;
    Sha256 hash_;
    std::string buffer_;
    std::string name_;
};

}  // namespace kelto::bench
