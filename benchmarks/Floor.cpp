#include "benchmarks/Floor.hpp"

#include <fstream>
#include <stdexcept>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "kelto/foundation/JsonReader.hpp"
#include "kelto/foundation/JsonWriter.hpp"
#include "kelto/foundation/Sha256.hpp"
#include "kelto/persistence/SqliteDatabase.hpp"

namespace kelto::bench {

namespace {

/// Reads a value of any kind and prints it again; what begins with a slash is a payload's path.
class ReadAndPrint {
public:
    explicit ReadAndPrint(const std::string& text) : reader_(text) {
        out_.reserve(text.size() * 5 / 4);
    }

    void run() {
        value();
        reader_.finish();
    }
    [[nodiscard]] const std::string& printed() const { return out_; }

private:
    void value() {
        switch (reader_.kind()) {
            case JsonKind::object:
                return object();
            case JsonKind::array:
                return array();
            case JsonKind::string:
                return text(reader_.string());
            case JsonKind::number:
                out_ += reader_.numberToken();
                return;
            case JsonKind::boolean:
                out_ += reader_.boolean() ? "true" : "false";
                return;
            case JsonKind::null:
                reader_.null();
                out_ += "null";
                return;
        }
    }

    void object() {
        out_ += '{';
        reader_.enterObject();
        while (const auto key = reader_.nextKey()) {
            if (out_.back() != '{') out_ += ',';
            appendJsonString(out_, *key);
            out_ += ':';
            value();
        }
        out_ += '}';
    }

    void array() {
        out_ += '[';
        reader_.enterArray();
        while (reader_.nextElement()) {
            if (out_.back() != '[') out_ += ',';
            value();
        }
        out_ += ']';
    }

    void text(std::string_view text) {
        appendJsonString(out_, text);
        if (!text.starts_with('/')) return;
        struct stat ignored {};
        (void)::stat(std::string(text).c_str(), &ignored);
    }

    JsonReader reader_;
    std::string out_;
};

std::string contents(const std::string& path) {
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    std::string bytes(static_cast<std::size_t>(file.tellg()), '\0');
    file.seekg(0).read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return bytes;
}

/// Rows of about the size of a thing's, with their payload beside them in a second table.
void store(const NewWork& work, const std::string& folder) {
    const std::string path = folder + "/floor.sqlite";
    std::ofstream(path).flush();
    SqliteDatabase database(path, std::chrono::milliseconds(1000));
    database.run("PRAGMA journal_mode = WAL");
    database.run("PRAGMA synchronous = FULL");
    database.run("CREATE TABLE item (id INTEGER PRIMARY KEY, texts TEXT) STRICT");
    database.run("CREATE TABLE payload (digest BLOB PRIMARY KEY, bytes BLOB) STRICT");
    SqliteStatement item(database, "INSERT INTO item (texts) VALUES (?)");
    SqliteStatement payload(database, "INSERT OR IGNORE INTO payload VALUES (?, ?)");
    const std::string texts(400, 'x');
    database.run("BEGIN IMMEDIATE");
    for (std::size_t i = 0; i < work.rows; ++i) {
        item.text(0, texts);
        item.run();
    }
    for (const std::string& source : work.payloadPaths) {
        const std::string bytes = contents(source);
        const Digest digest = sha256(bytes);
        payload.blob(0, std::as_bytes(std::span(digest.bytes)));
        payload.blob(1, bytesOf(bytes));
        payload.run();
        std::ofstream(folder + "/" + digest.hex(), std::ios::binary) << bytes;
    }
    database.run("COMMIT");
}

}  // namespace

Milliseconds floorOf(const std::string& request,
                     const NewWork& work,
                     const std::string& scratchFolder) {
    const auto start = std::chrono::steady_clock::now();
    ReadAndPrint pass(request);
    pass.run();
    if (work.rows > 0 || !work.payloadPaths.empty()) store(work, scratchFolder);
    const Milliseconds time = std::chrono::steady_clock::now() - start;
    if (pass.printed().size() < request.size() / 2) throw std::runtime_error("nothing was printed");
    return time;
}

}  // namespace kelto::bench
