#pragma once

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/keltoctl/TemporaryFolder.hpp"
#include "tools/keltoctl/Snapshot.hpp"

namespace kelto::ctl {

/// A library made of the records that a test adds, and a folder for what is made of it.
class RecordsTest : public testing::Test {
protected:
    ThingRecord& add(const std::string& kind, const std::string& title) {
        ThingRecord thing;
        thing.id = "id" + std::to_string(things.size());
        thing.kind = kind;
        thing.title = title;
        things.push_back(thing);
        return things.back();
    }

    [[nodiscard]] Snapshot snapshot() const {
        JsonElements records;
        for (const ProjectRecord& project : projects) records.push_back(toRecord(project));
        for (const TagRecord& tag : tags) records.push_back(toRecord(tag));
        for (const ThingRecord& thing : things) records.push_back(toRecord(thing));
        const JsonValue response(JsonMembers{{"records", std::move(records)}});
        return Snapshot::parse(response.text());
    }

    TemporaryFolder files;
    std::vector<ProjectRecord> projects;
    std::vector<TagRecord> tags;
    std::vector<ThingRecord> things;
};

}  // namespace kelto::ctl
