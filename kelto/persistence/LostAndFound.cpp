#include "kelto/persistence/LostAndFound.hpp"

#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>

#include "kelto/foundation/FilePath.hpp"
#include "kelto/platform/FileTransfer.hpp"

namespace kelto {

LostAndFound::LostAndFound(FileSystem& files, Random& random, std::string_view storePath)
    : files_(files),
      random_(random),
      folder_(joinedPath(withoutLastPathComponent(storePath), "Lost and found")) {}

std::string LostAndFound::freePath(std::string_view name) {
    files_.createFolders(folder_);
    std::string path = joinedPath(folder_, name);
    for (int number = 2; files_.status(path); ++number) {
        path = joinedPath(folder_, std::string(name) + " (" + std::to_string(number) + ")");
    }
    return path;
}

std::string LostAndFound::move(const std::string& path) {
    // Without the dot of a temporary name: nobody would see it.
    std::string_view name = lastPathComponent(path);
    while (name.starts_with('.')) name.remove_prefix(1);
    std::string place = freePath(name);
    files_.rename(path, place);
    files_.syncFolder(folder_);
    return place;
}

std::string LostAndFound::write(std::string_view name, Bytes bytes) {
    std::string place = freePath(name);
    writeAtomically(
        files_, random_, place, Durability::flushed, [&](File& file) { file.write(bytes); });
    return place;
}

std::string momentInName(const Date& moment) {
    using namespace std::chrono;
    const auto second = sys_seconds(seconds(std::llround(std::floor(moment.secondsSince1970))));
    const auto day = floor<days>(second);
    const year_month_day date(day);
    const hh_mm_ss time(second - day);
    std::array<char, 64> text{};
    std::snprintf(text.data(),
                  text.size(),
                  "%04d-%02u-%02u %02d.%02d.%02d",
                  static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()),
                  static_cast<unsigned>(date.day()),
                  static_cast<int>(time.hours().count()),
                  static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()));
    return text.data();
}

}  // namespace kelto
