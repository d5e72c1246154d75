#include <filesystem>
#include <string>

#include "kelto/AppleBridge/AssetReader.hpp"
#include "kelto/AppleBridge/BridgeError.hpp"
#include "kelto/AppleBridge/RecordReader.hpp"
#include "kelto/foundation/FilePath.hpp"
#include "kelto/foundation/Json.hpp"
#include "kelto/foundation/PlatformError.hpp"
#include "kelto/foundation/Sha256.hpp"
#include "kelto/foundation/Text.hpp"
#include "kelto/platform/linux/PosixFileSystem.hpp"
#include "tests/fuzz/FuzzTarget.hpp"
#include "tests/fuzz/InputReader.hpp"
#include "tests/support/Files.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace kelto {

namespace {

namespace fs = std::filesystem;

bool holdsComponent(std::string_view path, std::string_view component) {
    return (std::string(path) + "/").find("/" + std::string(component) + "/") != std::string::npos;
}

void checkStandardized(std::string_view path, std::string_view base) {
    const std::string standard = standardizedPath(path, base);
    require(standard.starts_with('/'), "a standardised path is absolute");
    require(standard == "/" || !standard.ends_with('/'), "it ends in no slash");
    require(standard.find("//") == std::string::npos, "it repeats no slash");
    require(!holdsComponent(standard, ".") && !holdsComponent(standard, ".."),
            "it has no dot components");
    require(standardizedPath(standard) == standard, "standardising again changes nothing");
    require(standardizedPath(joinedPath(withoutLastPathComponent(standard),
                                        lastPathComponent(standard))) == standard,
            "a path is its folder and its name");
}

void checkName(std::string_view path) {
    const std::string_view name = lastPathComponent(path);
    require(name == "/" || name.find('/') == name.npos, "a name holds no slash");
    const std::string_view extension = pathExtension(path);
    const std::string_view rest = withoutPathExtension(path);
    require(path.starts_with(rest), "taking an extension off only shortens");
    if (extension.empty()) {
        require(rest == path, "without an extension nothing is taken off");
    } else {
        require(path.substr(rest.size()).starts_with("." + std::string(extension)),
                "what is taken off is the extension");
        require(extension.find('/') == extension.npos && extension.find(' ') == extension.npos,
                "an extension holds no slash and no blank");
    }
    const std::string spoken = spokenFileName(path);
    require(isWellFormedUtf8(spoken) && spoken.size() <= 255 + 3, "a name can be spoken");
    require(spoken.find_first_of("\n\r\x1b") == std::string::npos, "in one line");
}

/// Remembers nothing and keeps nothing: only what bytes would come in.
class HashingPayloads final : public PayloadStorage {
public:
    std::optional<Payload> seenBefore(const FileStatus&) override { return std::nullopt; }
    ReceivedPayload receive(std::unique_ptr<File> source) override {
        std::string bytes(4096, '\0');
        bytes.resize(source->read(std::as_writable_bytes(std::span(bytes))));
        return {Payload{sha256(bytesOf(bytes))}, bytes};
    }
    bool mayRemember(const FileStatus&) override { return false; }
    ReceivedPayload receive(HashedBytes read) override {
        return {Payload{read.digest}, std::move(read.bytes)};
    }
    bool isSound(const Payload&, std::uint64_t) override { return true; }
    void keep(ReceivedPayload&) override {}
    void copyTo(const Payload&, File&) override {}
    void handOut(const Payload&, const std::string&, OutgoingFiles&) override {}
    std::uint64_t size(const Payload&) override { return 0; }
};

/// An exchange folder with files and links of every kind in it, and files around it.
class AssetFolder {
public:
    AssetFolder() {
        writeFile(directory + "/file", "inside");
        writeFile(directory + "/sub/file", "inside");
        writeFile(directory + "2/file", "outside");
        writeFile(folder.path("outside"), "outside");
        fs::create_symlink("file", directory + "/linkInside");
        fs::create_symlink("../outside", directory + "/linkOutside");
        fs::create_directory_symlink("sub", directory + "/folderInside");
        fs::create_directory_symlink("..", directory + "/folderOutside");
        fs::create_directory_symlink("/", directory + "/root");
        fs::create_symlink("round", directory + "/round");
        fs::create_symlink("missing", directory + "/nowhere");
    }

    void read(std::string_view path) {
        HashingPayloads payloads;
        AssetReader assets(files, payloads, directory);
        const std::string json = JsonValue(JsonMembers{{"data", path}}).text();
        RecordReader records;
        const Record record({}, records.read(json));
        try {
            const auto file = assets.asset(record, RecordKey::data);
            require(file && file->payload() == Payload{sha256(bytesOf("inside"))},
                    "only files of the exchange folder are read");
        } catch (const BridgeError&) {
            return;
        } catch (const PlatformError&) {
            return;
        }
    }

    TemporaryFolder folder;
    const std::string directory = folder.path("exchange");

private:
    PosixFileSystem files;
};

}  // namespace

void fuzzPaths(std::string_view bytes) {
    static AssetFolder assets;
    InputReader input(bytes);
    const std::string_view path = input.line();
    const std::string_view other = input.line();
    checkStandardized(path, "/" + std::string(other));
    checkName(path);
    const std::string joined = joinedPath(path, other);
    require(joined.starts_with(path) || path.ends_with('/'), "joining keeps the folder");
    const std::string wellFormed = repairedUtf8(path);
    assets.read(replacingAll(wellFormed, "$DIR", assets.directory));
    assets.read(assets.directory + "/" + wellFormed);
}

}  // namespace kelto
