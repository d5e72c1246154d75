#include "kelto/foundation/Text.hpp"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>
#include <stdexcept>
#include <utility>
#include <vector>

#include <unicode/brkiter.h>
#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/coll.h>
#include <unicode/normalizer2.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

#include "kelto/foundation/FatalError.hpp"
#include "kelto/foundation/Utf8Scan.hpp"

namespace kelto {
namespace {

/// ICU's functions fail for want of memory or because its data is not installed, never for a text.
void requireSuccess(UErrorCode status) {
    if (status == U_MEMORY_ALLOCATION_ERROR) throw std::bad_alloc();
    if (U_FAILURE(status)) {
        fatalError(std::string("the Unicode library cannot be used: ") + u_errorName(status));
    }
}

icu::StringPiece icuPiece(std::string_view text) {
    if (text.size() > std::numeric_limits<std::int32_t>::max()) {
        throw std::length_error("a text of more than 2 GiB cannot be processed");
    }
    return {text.data(), static_cast<std::int32_t>(text.size())};
}

/// The text itself when it is well formed, which is nearly always; else `storage` with the repaired
/// one.
std::string_view wellFormed(std::string_view text, std::string& storage) {
    if (isWellFormedUtf8(text)) return text;
    storage = repairedUtf8(text);
    return storage;
}

/// ASCII letters between `first` and `last` moved by `distance`, the others kept.
std::string movedAsciiLetters(std::string_view text, char first, char last, int distance) {
    std::string moved(text);
    std::transform(moved.begin(), moved.end(), moved.begin(), [&](char c) {
        return c >= first && c <= last ? static_cast<char>(c + distance) : c;
    });
    return moved;
}

const icu::Normalizer2& normalizer(const icu::Normalizer2* (*instance)(UErrorCode&)) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* const found = instance(status);
    requireSuccess(status);
    return *found;
}

/// More combining marks in a row than any script uses.
constexpr std::size_t longMarkRun = 64;

/// Calls `visit(character, isMark)` for each character of a well-formed text. A mark is what
/// normalization may move: everything whose decomposition begins with a combining class above 0.
template <typename Visitor>
void forEachCharacter(std::string_view text, const Visitor& visit) {
    const icu::Normalizer2& decomposition = normalizer(icu::Normalizer2::getNFDInstance);
    for (std::size_t index = 0; index < text.size();) {
        UChar32 character = 0;
        U8_NEXT_UNSAFE(text.data(), index, character);
        visit(character, character >= 0x300 && !decomposition.hasBoundaryBefore(character));
    }
}

bool hasLongMarkRun(std::string_view text) {
    if (text.size() < longMarkRun || isAscii(text)) return false;
    std::size_t run = 0;
    std::size_t longest = 0;
    forEachCharacter(text, [&](UChar32, bool isMark) {
        run = isMark ? run + 1 : 0;
        longest = std::max(longest, run);
    });
    return longest >= longMarkRun;
}

void appendCharacter(std::string& text, UChar32 character) {
    std::array<char, U8_MAX_LENGTH> bytes{};
    std::size_t length = 0;
    U8_APPEND_UNSAFE(bytes.data(), length, character);
    text.append(bytes.data(), length);
}

/// Appends a run of marks, decomposed and in canonical order, to `text`; the run is empty then.
void appendSortedMarks(std::string& text, std::vector<UChar32>& marks) {
    if (marks.empty()) return;
    const icu::Normalizer2& decomposition = normalizer(icu::Normalizer2::getNFDInstance);
    std::vector<std::pair<std::uint8_t, UChar32>> parts;
    for (const UChar32 mark : marks) {
        icu::UnicodeString decomposed;
        if (!decomposition.getDecomposition(mark, decomposed)) decomposed.setTo(mark);
        for (std::int32_t index = 0; index < decomposed.length();
             index = decomposed.moveIndex32(index, 1)) {
            const UChar32 part = decomposed.char32At(index);
            parts.emplace_back(decomposition.getCombiningClass(part), part);
        }
    }
    std::stable_sort(parts.begin(), parts.end(), [](const auto& left, const auto& right) {
        return left.first < right.first;
    });
    for (const auto& part : parts) appendCharacter(text, part.second);
    marks.clear();
}

/// ICU sorts marks one by one from the end of a run. That suits the three of a real letter, while a
/// hostile run of a hundred thousand takes it seconds and one of a million minutes; so long runs
/// come to it sorted, which leaves the text canonically equivalent.
std::string_view withoutDisorderedMarks(std::string_view text, std::string& storage) {
    if (!hasLongMarkRun(text)) return text;
    std::string sorted;
    std::vector<UChar32> marks;
    forEachCharacter(text, [&](UChar32 character, bool isMark) {
        if (isMark) {
            marks.push_back(character);
            return;
        }
        appendSortedMarks(sorted, marks);
        appendCharacter(sorted, character);
    });
    appendSortedMarks(sorted, marks);
    storage = std::move(sorted);
    return storage;
}

/// Where the order of texts comes from. "C" and its kin have no order that a person would expect in
/// a list, so they stand for the root order.
icu::Locale collationLocale() {
    for (const char* const variable : {"LC_ALL", "LC_COLLATE", "LANG"}) {
        const char* const value = std::getenv(variable);
        if (value == nullptr || *value == '\0') continue;
        const std::string_view name(value);
        const std::string_view language = name.substr(0, name.find('.'));
        if (language == "C" || language == "POSIX") break;
        return icu::Locale::createCanonical(value);
    }
    return icu::Locale::getRoot();
}

std::unique_ptr<const icu::Collator> openCollator() {
    // Once for the process: two threads with different orders would never agree on a list. Never
    // destroyed: another thread may need it while the process ends.
    static const icu::Locale& locale = *new icu::Locale(collationLocale());
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Collator> collator(icu::Collator::createInstance(locale, status));
    if (U_FAILURE(status)) {
        status = U_ZERO_ERROR;  // a locale that ICU cannot make sense of
        collator.reset(icu::Collator::createInstance(icu::Locale::getRoot(), status));
    }
    requireSuccess(status);
    collator->setAttribute(UCOL_STRENGTH, UCOL_SECONDARY, status);
    collator->setAttribute(UCOL_NORMALIZATION_MODE, UCOL_ON, status);
    collator->setAttribute(UCOL_NUMERIC_COLLATION, UCOL_OFF, status);
    requireSuccess(status);
    return collator;
}

/// The text as it is compared; in `storage` where it differs from `text`.
std::string_view collatable(std::string_view text, std::string& storage) {
    if (isAscii(text)) return text;
    std::string repaired;
    std::string sorted;
    text = withoutDisorderedMarks(wellFormed(text, repaired), sorted);
    // The upper case of ß is SS, so the two differ in letter case only; the collator takes the
    // difference for one of accents.
    storage = replacingAll(replacingAll(text, "ß", "ss"), "ẞ", "SS");
    return storage;
}

std::unique_ptr<icu::BreakIterator> openCharacterIterator() {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::BreakIterator> iterator(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    requireSuccess(status);
    return iterator;
}

/// The bytes of the line break at the front of `text`, 0 for none. CR LF counts as two breaks with
/// an empty line between them.
std::size_t lineBreakLength(std::string_view text) {
    switch (text.front()) {
        case '\n':
        case '\v':
        case '\f':
        case '\r':
            return 1;
        case '\xC2':
            return text.starts_with("\u0085") ? 2 : 0;
        case '\xE2':
            return text.starts_with("\u2028") || text.starts_with("\u2029") ? 3 : 0;
        default:
            return 0;
    }
}

}  // namespace

std::string upperCased(std::string_view text) {
    if (isAscii(text)) return movedAsciiLetters(text, 'a', 'z', 'A' - 'a');
    std::string storage;
    std::string upper;
    icu::StringByteSink<std::string> sink(&upper);
    UErrorCode status = U_ZERO_ERROR;
    // The locale "" is the root, nullptr would be the user's.
    icu::CaseMap::utf8ToUpper("", 0, icuPiece(wellFormed(text, storage)), sink, nullptr, status);
    requireSuccess(status);
    return upper;
}

std::string lowerCased(std::string_view text) {
    if (isAscii(text)) return movedAsciiLetters(text, 'A', 'Z', 'a' - 'A');
    std::string storage;
    // A sigma is the same letter wherever it stands; ICU would write another one at the end of a
    // word.
    const std::string source = replacingAll(wellFormed(text, storage), "Σ", "σ");
    std::string lower;
    icu::StringByteSink<std::string> sink(&lower);
    UErrorCode status = U_ZERO_ERROR;
    icu::CaseMap::utf8ToLower("", 0, icuPiece(source), sink, nullptr, status);
    requireSuccess(status);
    return lower;
}

std::string canonicalComposition(std::string_view text) {
    if (isAscii(text)) return std::string(text);
    std::string repaired;
    std::string sorted;
    const std::string_view source = withoutDisorderedMarks(wellFormed(text, repaired), sorted);
    std::string composed;
    icu::StringByteSink<std::string> sink(&composed);
    UErrorCode status = U_ZERO_ERROR;
    normalizer(icu::Normalizer2::getNFCInstance)
        .normalizeUTF8(0, icuPiece(source), sink, nullptr, status);
    requireSuccess(status);
    return composed;
}

bool orderedBeforeCaseInsensitively(std::string_view left, std::string_view right) {
    if (left == right) return false;
    thread_local const std::unique_ptr<const icu::Collator> collator = openCollator();
    std::string leftStorage;
    std::string rightStorage;
    const icu::StringPiece first = icuPiece(collatable(left, leftStorage));
    const icu::StringPiece second = icuPiece(collatable(right, rightStorage));
    UErrorCode status = U_ZERO_ERROR;
    const UCollationResult order = collator->compareUTF8(first, second, status);
    requireSuccess(status);
    return order == UCOL_LESS;
}

std::string_view graphemePrefix(std::string_view text, std::size_t count) {
    if (count == 0) return text.substr(0, 0);
    // ASCII characters stand alone, save CR before LF. The character behind the last one is looked
    // at too: it could be a mark on it.
    const std::string_view head = text.substr(0, count < text.size() ? count + 1 : text.size());
    if (isAscii(head) && head.find('\r') == std::string_view::npos) return text.substr(0, count);

    thread_local const std::unique_ptr<icu::BreakIterator> iterator = openCharacterIterator();
    UErrorCode status = U_ZERO_ERROR;
    const icu::StringPiece piece = icuPiece(text);
    const icu::LocalUTextPointer source(
        utext_openUTF8(nullptr, piece.data(), piece.length(), &status));
    iterator->setText(source.getAlias(), status);
    requireSuccess(status);
    std::int32_t end = 0;
    while (count > 0 && end != icu::BreakIterator::DONE) {
        end = iterator->next();
        --count;
    }
    return end == icu::BreakIterator::DONE ? text : text.substr(0, static_cast<std::size_t>(end));
}

std::string_view firstNonEmptyLine(std::string_view text) {
    while (!text.empty() && lineBreakLength(text) > 0) text.remove_prefix(lineBreakLength(text));
    std::size_t end = 0;
    while (end < text.size() && lineBreakLength(text.substr(end)) == 0) ++end;
    return text.substr(0, end);
}

std::string replacingAll(std::string_view text,
                         std::string_view pattern,
                         std::string_view replacement) {
    if (pattern.empty()) fatalError("nothing cannot be replaced");
    std::string replaced;
    replaced.reserve(text.size());
    std::size_t start = 0;
    for (std::size_t found = text.find(pattern); found != std::string_view::npos;
         found = text.find(pattern, start)) {
        replaced += text.substr(start, found - start);
        replaced += replacement;
        start = found + pattern.size();
    }
    replaced += text.substr(start);
    return replaced;
}

bool beginsWithDirectionMark(std::string_view text) {
    if (text.starts_with("\xD8\x9C")) return true;
    if (text.size() < 3) return false;
    const auto last = static_cast<unsigned char>(text[2]);
    if (text.starts_with("\xE2\x80")) {
        return last == 0x8E || last == 0x8F || (last >= 0xAA && last <= 0xAE);
    }
    return text.starts_with("\xE2\x81") && last >= 0xA6 && last <= 0xA9;
}

}  // namespace kelto
