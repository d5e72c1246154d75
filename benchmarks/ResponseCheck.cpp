#include "benchmarks/ResponseCheck.hpp"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include <sys/stat.h>

#include "benchmarks/ResponseRecords.hpp"

namespace kelto::bench {

namespace {

constexpr std::size_t comparedFiles = 200;

[[noreturn]] void refuse(std::size_t position, const std::string& why) {
    throw std::runtime_error("the response is wrong: record " + std::to_string(position) + " " +
                             why);
}

std::string contents(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

class Check {
public:
    Check(const HostSnapshot& host, ReceivedFiles files)
        : host_(host), library_(host.library()), files_(files) {}

    void record(std::size_t position, const ResponseRecord& record) {
        const std::size_t projects = library_.projects();
        const std::size_t firstItem = library_.positionOf(0);
        if (position < projects) {
            same(position,
                 record,
                 {.recordType = "Project",
                  .uuid = SampleLibrary::projectIdentifier(position),
                  .name = SampleLibrary::projectName(position)});
        } else if (position < firstItem) {
            const std::size_t tag = position - projects;
            same(position,
                 record,
                 {.recordType = "Tag",
                  .uuid = SampleLibrary::tagIdentifier(tag),
                  .name = SampleLibrary::tagName(tag)});
        } else if (position < library_.records()) {
            item(position, position - firstItem, record);
        } else {
            refuse(position, "is one too many");
        }
        ++records_;
    }

    void finish() const {
        if (records_ != library_.records()) refuse(records_, "is missing");
    }

private:
    struct Expected {
        std::string_view recordType;
        std::string uuid;
        std::string name;
    };

    static void same(std::size_t position, const ResponseRecord& record, const Expected& expected) {
        if (record.recordType != expected.recordType) refuse(position, "has another type");
        if (record.uuid != expected.uuid) refuse(position, "has another identifier");
        if (record.name != expected.name) {
            refuse(
                position,
                "is named “" + std::string(record.name) + "” instead of “" + expected.name + "”");
        }
    }

    void item(std::size_t position, std::size_t item, const ResponseRecord& record) {
        same(position,
             record,
             {.recordType = "Thing",
              .uuid = SampleLibrary::itemIdentifier(item),
              .name = host_.title(item)});
        if (!library_.hasPayload(item)) {
            if (!record.data.empty()) refuse(position, "has a payload");
            return;
        }
        if (record.data != host_.receivedPath(item)) refuse(position, "names another payload file");
        if (files_ == ReceivedFiles::checked) file(position, item, record);
    }

    void file(std::size_t position, std::size_t item, const ResponseRecord& record) {
        const std::string path(record.data);
        struct stat state {};
        if (::stat(path.c_str(), &state) != 0) refuse(position, "has no payload file");
        if (static_cast<std::size_t>(state.st_size) != library_.payloadSize(item)) {
            refuse(position, "has a payload file of another size");
        }
        const HostItem& known = host_.item(item);
        const bool isNews =
            !known.isKnown || !std::ranges::equal(known.fingerprint, record.fingerprint);
        if (!isNews || compared_ == comparedFiles) return;
        ++compared_;
        if (contents(path) != host_.payload(item)) refuse(position, "has other payload bytes");
    }

    const HostSnapshot& host_;
    const SampleLibrary& library_;
    ReceivedFiles files_;
    std::size_t records_ = 0;
    std::size_t compared_ = 0;
};

}  // namespace

void checkResponse(std::string_view response, const HostSnapshot& host, ReceivedFiles files) {
    Check check(host, files);
    forEachRecord(response, [&](std::size_t position, const ResponseRecord& record) {
        check.record(position, record);
    });
    check.finish();
}

}  // namespace kelto::bench
