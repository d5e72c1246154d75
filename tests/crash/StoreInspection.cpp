#include "tests/crash/StoreInspection.hpp"

#include <filesystem>
#include <memory>
#include <set>

#include <sqlite3.h>

#include "kelto/foundation/Bytes.hpp"
#include "kelto/foundation/Sha256.hpp"
#include "kelto/platform/FileTransfer.hpp"
#include "tests/crash/WatchedHost.hpp"
#include "tests/support/Files.hpp"

namespace kelto {

namespace {

/// A connection for looking only.
class Reader {
public:
    explicit Reader(const std::string& path) {
        if (sqlite3_open_v2(path.c_str(), &handle_, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK) {
            sqlite3_close(handle_);
            throw CrashFinding("the database cannot be opened: " + path);
        }
        // A host that is there may just be emptying its log.
        sqlite3_busy_timeout(handle_, 5000);
    }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    ~Reader() { sqlite3_close(handle_); }

    /// The rows of a query as texts, the columns joined by blanks.
    [[nodiscard]] std::vector<std::string> rows(const std::string& query) {
        sqlite3_stmt* statement = nullptr;
        if (sqlite3_prepare_v2(handle_, query.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
            throw CrashFinding("“" + query + "” fails: " + sqlite3_errmsg(handle_));
        }
        const std::unique_ptr<sqlite3_stmt, decltype(&sqlite3_finalize)> owner(statement,
                                                                               &sqlite3_finalize);
        std::vector<std::string> found;
        int code = SQLITE_ROW;
        while ((code = sqlite3_step(statement)) == SQLITE_ROW) {
            std::string row;
            for (int column = 0; column < sqlite3_column_count(statement); ++column) {
                const auto* text =
                    reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
                row += (column == 0 ? "" : " ") + std::string(text == nullptr ? "NULL" : text);
            }
            found.push_back(row);
        }
        if (code != SQLITE_DONE) {
            throw CrashFinding("“" + query + "” fails: " + sqlite3_errmsg(handle_));
        }
        return found;
    }

private:
    sqlite3* handle_ = nullptr;
};

constexpr const char* payloadsInFiles =
    "SELECT lower(hex(digest)), size FROM Payload WHERE bytes IS NULL";

}  // namespace

void requireSoundStore(const RunFolder& folder) {
    Reader database(folder.store());
    const auto checked = database.rows("PRAGMA integrity_check");
    if (checked != std::vector<std::string>{"ok"}) {
        throw CrashFinding("the integrity check says: " + checked.front());
    }
    const auto dangling = database.rows("PRAGMA foreign_key_check");
    if (!dangling.empty()) throw CrashFinding("a reference leads nowhere: " + dangling.front());
    const auto shortened = database.rows("SELECT id FROM Payload WHERE length(bytes) <> size");
    if (!shortened.empty()) throw CrashFinding("a payload in the database is cut");
    for (const std::string& row : database.rows(payloadsInFiles)) {
        const std::string digest = row.substr(0, row.find(' '));
        const std::string path = folder.payloads() + "/" + digest;
        if (!exists(path)) throw CrashFinding("a row names a file that is not there: " + digest);
        const std::string bytes = readFile(path);
        if (std::to_string(bytes.size()) != row.substr(row.find(' ') + 1)) {
            throw CrashFinding("a payload file has " + std::to_string(bytes.size()) +
                               " bytes, its row says: " + row);
        }
        if (sha256(bytesOf(bytes)).hex() != digest) {
            throw CrashFinding("a payload file holds other bytes than its name says: " + digest);
        }
    }
}

void requireNoStrays(const RunFolder& folder) {
    std::set<std::string> named;
    for (const std::string& row : Reader(folder.store()).rows(payloadsInFiles)) {
        named.insert(row.substr(0, row.find(' ')));
    }
    for (const std::string& name : namesIn(folder.payloads())) {
        if (!named.contains(name)) throw CrashFinding("a stray in _EXTERNAL_DATA: " + name);
    }
    for (const std::string& place : {folder.library(), folder.received()}) {
        for (const std::string& name : namesIn(place)) {
            if (isTemporaryName(name)) throw CrashFinding("a stray: " + place + "/" + name);
        }
    }
}

void requireReceived(const RunFolder& folder,
                     const std::map<std::string, PayloadNumber>& expected) {
    for (const auto& [name, number] : expected) {
        const std::string path = folder.received() + "/" + name;
        if (!exists(path)) throw CrashFinding("the host has not received " + name);
        if (readFile(path) != payloadBytes(number)) {
            throw CrashFinding("the host has received wrong bytes: " + name);
        }
    }
}

std::string snapshotOf(const RunFolder& folder) {
    HostProcess host(plainHost(folder));
    const std::string answer =
        host.ask(RequestBuilder().text(folder.store(), folder.exchange())).text;
    if (const HostEnd end = host.wait(); end != HostEnd()) {
        throw CrashFinding("a host without faults ends badly: " + host.standardError());
    }
    return folder.withoutPaths(answer);
}

}  // namespace kelto
