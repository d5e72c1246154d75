#pragma once

#include <cstdint>
#include <string>

namespace kelto {

/// While it lives, calls that SQLite makes of the system fail, as on a full or broken disk. SQLite
/// itself does what it does then. One at a time.
class FaultyDatabase {
public:
    enum class Call : std::uint8_t {
        open,  ///< Opening a file, in whatever way.
        openForWriting,
        create,
        write,
        sync,
    };
    /// Fails calls for files whose paths end like that.
    FaultyDatabase(Call call, std::string pathEnd, int errorNumber);
    FaultyDatabase(const FaultyDatabase&) = delete;
    FaultyDatabase& operator=(const FaultyDatabase&) = delete;
    ~FaultyDatabase();
};

}  // namespace kelto
