#include "kelto/persistence/BackupArchive.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <vector>

#include "kelto/foundation/FatalError.hpp"
#include "kelto/foundation/PlatformError.hpp"
#include "kelto/platform/FileTransfer.hpp"

namespace kelto {

namespace {

constexpr std::size_t blockBytes = 512;
using Block = std::array<char, blockBytes>;

/// A field of the header: where it begins, and how long it is.
struct Field {
    std::size_t at;
    std::size_t length;
};
constexpr Field nameField{0, 100};
constexpr Field modeField{100, 8};
constexpr Field ownerField{108, 8};
constexpr Field groupField{116, 8};
constexpr Field sizeField{124, 12};
constexpr Field timeField{136, 12};
constexpr Field sumField{148, 8};
constexpr Field typeField{156, 1};
constexpr Field magicField{257, 8};
constexpr Field prefixField{345, 155};

constexpr char fileType = '0';
constexpr char folderType = '5';
constexpr std::uint64_t firstSizeBeyondOctal = std::uint64_t{1} << 33;

void put(Block& block, const Field& field, std::string_view text) {
    if (text.size() > field.length) fatalError("a name is too long for a backup");
    std::copy(text.begin(), text.end(), block.begin() + static_cast<std::ptrdiff_t>(field.at));
}

/// Octal digits with leading zeros, and a NUL.
void putOctal(Block& block, const Field& field, std::uint64_t value) {
    std::string digits(field.length - 1, '0');
    for (std::size_t i = digits.size(); i-- > 0 && value != 0; value /= 8) {
        digits[i] = static_cast<char>('0' + value % 8);
    }
    put(block, field, digits);
}

void putSize(Block& block, std::uint64_t size) {
    if (size < firstSizeBeyondOctal) {
        putOctal(block, sizeField, size);
        return;
    }
    block[sizeField.at] = static_cast<char>(0x80);
    for (std::size_t i = sizeField.length - 1; i > 0; --i, size >>= 8) {
        block[sizeField.at + i] = static_cast<char>(size & 0xFF);
    }
}

std::uint64_t sumOf(const Block& block) {
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < block.size(); ++i) {
        const bool isSum = i >= sumField.at && i < sumField.at + sumField.length;
        sum += isSum ? std::uint64_t{' '} : static_cast<unsigned char>(block[i]);
    }
    return sum;
}

std::string_view textIn(const Block& block, const Field& field) {
    const std::string_view text(&block[field.at], field.length);
    return text.substr(0, text.find('\0'));
}

std::optional<std::uint64_t> numberIn(const Block& block, const Field& field) {
    if ((static_cast<unsigned char>(block[field.at]) & 0x80U) != 0) {
        std::uint64_t value = 0;
        // Eight bytes are more than any file has; what stands before them has to be nothing.
        for (std::size_t i = 1; i < field.length; ++i) {
            if (i + sizeof value < field.length && block[field.at + i] != 0) return std::nullopt;
            value = value << 8 | static_cast<unsigned char>(block[field.at + i]);
        }
        return value;
    }
    std::string_view text = textIn(block, field);
    text = text.substr(0, text.find(' '));
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, 8);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

std::uint64_t paddingBehind(std::uint64_t size) {
    return (blockBytes - size % blockBytes) % blockBytes;
}

}  // namespace

BackupWriter::BackupWriter(File& file, const Date& moment) : file_(file), moment_(moment) {
    // Named by itself, so that whoever unpacks it gets a folder that nobody else may enter.
    writeHeader("", std::string(backupFolder) + "/", 0, folderType);
}

void BackupWriter::writeHeader(std::string_view prefix,
                               std::string_view name,
                               std::uint64_t size,
                               char type) {
    Block block{};
    put(block, nameField, name);
    put(block, prefixField, prefix);
    putOctal(block, modeField, type == folderType ? 0700 : 0600);
    putOctal(block, ownerField, 0);
    putOctal(block, groupField, 0);
    putSize(block, size);
    putOctal(block, timeField, static_cast<std::uint64_t>(std::max(0.0, moment_.secondsSince1970)));
    block[typeField.at] = type;
    put(block, magicField, std::string_view("ustar\00000", 8));
    putOctal(block, sumField, sumOf(block));
    write(bytesOf({block.data(), block.size()}));
}

Digest BackupWriter::add(std::string_view name,
                         std::uint64_t size,
                         const std::function<void(const Sink&)>& fill) {
    writeHeader(backupFolder, name, size, fileType);
    Sha256 digest;
    std::uint64_t left = size;
    fill([&](Bytes bytes) {
        if (bytes.size() > left) fatalError("more bytes than were announced");
        left -= bytes.size();
        digest.update(bytes);
        write(bytes);
    });
    const std::vector<std::byte> zeros(std::min<std::uint64_t>(left, transferBufferBytes));
    while (left > 0) {
        const Bytes bytes = Bytes(zeros).first(std::min<std::uint64_t>(left, zeros.size()));
        left -= bytes.size();
        digest.update(bytes);
        write(bytes);
    }
    pad();
    const Digest sum = digest.finish();
    sum.appendHex(sums_);
    sums_ += "  " + std::string(name) + "\n";
    return sum;
}

void BackupWriter::finish() {
    writeHeader(backupFolder, backupSums, sums_.size(), fileType);
    write(bytesOf(sums_));
    pad();
    const std::array<std::byte, 2 * blockBytes> end{};
    write(end);
}

void BackupWriter::write(Bytes bytes) {
    file_.write(bytes);
    const std::uint64_t before = written_ / File::syncStrideBytes;
    written_ += bytes.size();
    if (written_ / File::syncStrideBytes != before) file_.startSync(File::Reading::soon);
}

void BackupWriter::pad() {
    const std::array<std::byte, blockBytes> zeros{};
    write(Bytes(zeros).first(paddingBehind(written_)));
}

BackupReader::BackupReader(File& file) : file_(file) {}

std::optional<BackupReader::Entry> BackupReader::next() {
    skip(left_ + padding_);
    left_ = 0;
    padding_ = 0;
    for (;;) {
        Block block{};
        fill(std::as_writable_bytes(std::span(block)));
        if (std::all_of(block.begin(), block.end(), [](char one) { return one == 0; })) {
            return std::nullopt;
        }
        if (numberIn(block, sumField) != sumOf(block)) throw broken("a header is damaged");
        const auto size = numberIn(block, sizeField);
        if (!size) throw broken("a header is damaged");
        const std::string_view prefix = textIn(block, prefixField);
        const std::string_view name = textIn(block, nameField);
        if (block[typeField.at] == folderType && *size == 0) continue;
        if (block[typeField.at] != fileType || prefix != backupFolder) {
            throw broken("it holds what no backup holds");
        }
        left_ = *size;
        padding_ = paddingBehind(left_);
        return Entry{std::string(name), *size};
    }
}

Digest BackupReader::read(const std::function<void(Bytes)>& sink) {
    std::vector<std::byte> buffer(std::min<std::uint64_t>(left_, transferBufferBytes));
    Sha256 digest;
    while (left_ > 0) {
        const auto piece = std::span(buffer).first(std::min<std::uint64_t>(left_, buffer.size()));
        fill(piece);
        left_ -= piece.size();
        digest.update(piece);
        sink(piece);
    }
    return digest.finish();
}

PlatformError BackupReader::broken(std::string_view what) const {
    constexpr std::int64_t corruptFileCode = 259;  // as the platform's own layer numbers it
    return PlatformError::described(
        errorDomain::cocoa,
        corruptFileCode,
        "“" + spokenFileName(file_.path()) +
            "” isn’t a whole backup of a library: " + std::string(what) + ".");
}

void BackupReader::fill(std::span<std::byte> buffer) {
    if (file_.read(buffer) < buffer.size()) throw broken("it ends too early");
    read_ += buffer.size();
}

void BackupReader::skip(std::uint64_t bytes) {
    std::vector<std::byte> buffer(std::min<std::uint64_t>(bytes, transferBufferBytes));
    while (bytes > 0) {
        const auto piece = std::span(buffer).first(std::min<std::uint64_t>(bytes, buffer.size()));
        fill(piece);
        bytes -= piece.size();
    }
}

void readBackup(File& backup,
                const std::function<std::unique_ptr<File>(const BackupReader::Entry&)>& place,
                const std::function<void(std::uint64_t)>& progress) {
    BackupReader archive(backup);
    std::string found;
    std::string promised;
    while (const auto entry = archive.next()) {
        if (!promised.empty()) throw archive.broken("something follows its list of sums");
        if (entry->name == backupSums) {
            (void)archive.read([&](Bytes bytes) { promised += textOf(bytes); });
            continue;
        }
        const std::unique_ptr<File> file = place(*entry);
        const Digest digest = archive.read([&](Bytes bytes) {
            if (file) file->write(bytes);
            if (progress) progress(archive.bytesRead());
        });
        if (file) file->sync();
        digest.appendHex(found);
        found += "  " + entry->name + "\n";
    }
    if (promised.empty()) throw archive.broken("its list of sums is missing");
    if (promised != found) throw archive.broken("its bytes have changed since it was written");
}

}  // namespace kelto
