#include "tests/crash/Story.hpp"

#include <algorithm>
#include <array>
#include <filesystem>
#include <iterator>

#include "kelto/foundation/Text.hpp"
#include "tests/support/Files.hpp"

namespace kelto {

namespace {

constexpr std::size_t mostThings = 24;
constexpr std::int64_t firstMoment = 1'760'000'000'000;

/// Even numbers lie in the database, odd ones in files.
std::size_t payloadSize(PayloadNumber number) {
    constexpr std::array<std::size_t, 4> small{1, 700, 5'000, 65'536};
    constexpr std::array<std::size_t, 4> large{65'537, 70'000, 300'000, 131'072};
    const std::size_t place = number / 2 % 4;
    return number % 2 == 0 ? small[place] : large[place];
}

std::string fileName(PayloadNumber number) {
    return "in-" + std::to_string(number);
}

}  // namespace

const std::string& payloadBytes(PayloadNumber number) {
    constexpr std::size_t mostKept = 256;
    static std::map<PayloadNumber, std::string> kept;
    if (kept.size() >= mostKept && !kept.contains(number)) kept.clear();
    std::string& bytes = kept[number];
    if (bytes.empty()) {
        bytes.resize(payloadSize(number));
        std::uint64_t state = number * 0x9E3779B97F4A7C15U + 1;
        for (char& byte : bytes) {
            state = state * 6364136223846793005U + 1442695040888963407U;
            byte = static_cast<char>(state >> 56);
        }
    }
    return bytes;
}

std::string StoryStep::text(const RunFolder& folder) const {
    for (const PayloadNumber number : sent) {
        const std::string path = folder.exchange() + "/" + fileName(number);
        if (!exists(path)) writeFile(path, payloadBytes(number));
    }
    return replacingAll(
        request.text(folder.store(), folder.exchange()), "@EXCHANGE@", folder.exchange());
}

void StoryStep::tidy(const RunFolder& folder) const {
    std::set<std::string> needed;
    for (const auto& [name, number] : received) needed.insert(fileName(number));
    for (const std::string& name : namesIn(folder.exchange())) {
        if (!name.starts_with("in-") || needed.contains(name)) continue;
        std::filesystem::remove(folder.exchange() + "/" + name);
    }
}

StoryStep Story::next() {
    request_ = RequestBuilder();
    sent_.clear();
    ++stepNumber_;
    if (kind_ == Kind::longLog && stepNumber_ == 1) {
        fillLog();
    } else if (stepNumber_ <= scriptedSteps) {
        scripted(stepNumber_);
    } else {
        improvised();
    }
    return {request_, received(), sent_};
}

void Story::fillLog() {
    constexpr int things = 70;  // of 64 KiB each: more than the 1,000 pages that start a copy
    for (int i = 0; i < things; ++i) {
        do {
            ++lastPayload_;
        } while (payloadSize(lastPayload_) != 65'536);
        createThing(lastPayload_, 0);
    }
}

void Story::scripted(unsigned number) {
    switch (number) {
        case 1:
            createProject();
            createTag();
            createTag();
            createThing(newPayload(Size::small), 0);
            createThing(newPayload(Size::large), newPayload(Size::small));
            createThing(newPayload(Size::large), 0);
            createThing(0, 0);
            break;
        case 2:
            editThing();
            replaceData(Size::large);
            break;
        case 3:
            shareData();
            removeTag();
            break;
        case 4:
            replaceData(Size::small);
            createThing(newPayload(Size::large), newPayload(Size::large));
            removeProject();
            break;
        case 5:
            break;  // nothing is new: the snapshot is asked for
        case 6:
            for (int i = 0; i < 6; ++i)
                createThing(newPayload(Size::small), newPayload(Size::small));
            createProject();
            removeThing();
            break;
        case 7:
            removeThing();
            removeThing();
            createTag();
            break;
        default:
            replaceData(Size::large);
            replaceData(Size::large);
            editThing();
            removeThing();
    }
}

void Story::improvised() {
    if (things_.size() > mostThings) {
        for (int i = 0; i < 6; ++i) removeThing();
    }
    if (projects_.size() > 4) removeProject();
    if (tags_.size() > 5) removeTag();
    const std::size_t count = 1 + roll(3);
    for (std::size_t i = 0; i < count; ++i) {
        switch (roll(10)) {
            case 0:
                createProject();
                break;
            case 1:
                createTag();
                break;
            case 2:
                createThing(newPayload(Size::small), 0);
                break;
            case 3:
                createThing(newPayload(Size::large), newPayload(Size::small));
                break;
            case 4:
                editThing();
                break;
            case 5:
                replaceData(Size::large);
                break;
            case 6:
                replaceData(Size::small);
                break;
            case 7:
                shareData();
                break;
            case 8:
                removeThing();
                break;
            default:
                editThing();
                break;
        }
    }
}

std::size_t Story::roll(std::size_t sides) {
    return static_cast<std::size_t>(dice_() % sides);
}

std::string Story::newIdentifier() {
    return identifier(++lastIdentifier_);
}

PayloadNumber Story::newPayload(Size size) {
    const PayloadNumber parity = size == Size::large ? 1 : 0;
    ++lastPayload_;
    if (lastPayload_ % 2 != parity) ++lastPayload_;
    return lastPayload_;
}

template <typename Map>
auto Story::any(Map& map) {
    return std::next(map.begin(), static_cast<std::ptrdiff_t>(roll(map.size())));
}

void Story::createProject() {
    projects_.push_back(newIdentifier());
    RecordBuilder record = RecordBuilder::project(projects_.back());
    record.with("name", "Project " + std::to_string(lastIdentifier_));
    if (projects_.size() > 1) record.with("parent", projects_.front());
    request_.record(record);
}

void Story::createTag() {
    tags_.push_back(newIdentifier());
    request_.record(
        RecordBuilder::tag(tags_.back()).with("name", "Tag " + std::to_string(lastIdentifier_)));
}

void Story::createThing(PayloadNumber data, PayloadNumber icon) {
    const std::string uuid = newIdentifier();
    StoryThing& thing = things_[uuid];
    thing.title = "Thing " + std::to_string(lastIdentifier_);
    thing.data = data;
    thing.icon = icon;
    if (!projects_.empty()) thing.project = *any(projects_);
    if (!tags_.empty()) thing.tags.push_back(*any(tags_));
    thing.updatedAt = firstMoment + stepNumber_;
    send(uuid, thing);
}

void Story::editThing() {
    if (things_.empty()) return;
    auto& [uuid, thing] = *any(things_);
    thing.title += " edited in step " + std::to_string(stepNumber_);
    thing.thumbnail = thing.thumbnail == 0 ? newPayload(Size::small) : 0;
    thing.updatedAt = firstMoment + stepNumber_;
    send(uuid, thing);
}

void Story::replaceData(Size size) {
    if (things_.empty()) return;
    auto& [uuid, thing] = *any(things_);
    thing.data = newPayload(size);
    thing.updatedAt = firstMoment + stepNumber_;
    send(uuid, thing);
}

void Story::shareData() {
    if (things_.empty()) return;
    const PayloadNumber data = any(things_)->second.data;
    createThing(data, data);
}

void Story::removeThing() {
    if (things_.empty()) return;
    const auto thing = any(things_);
    request_.record(RecordBuilder::deletion("Thing", thing->first));
    things_.erase(thing);
}

void Story::removeProject() {
    if (projects_.empty()) return;
    const std::string uuid = projects_.back();
    projects_.pop_back();
    request_.record(RecordBuilder::deletion("Project", uuid));
    for (auto& [other, thing] : things_) {
        if (thing.project == uuid) thing.project.clear();
    }
}

void Story::removeTag() {
    if (tags_.empty()) return;
    const auto tag = any(tags_);
    request_.record(RecordBuilder::deletion("Tag", *tag));
    for (auto& [other, thing] : things_) std::erase(thing.tags, *tag);
    tags_.erase(tag);
}

void Story::send(const std::string& uuid, const StoryThing& thing) {
    RecordBuilder record = RecordBuilder::thing(uuid);
    record.with("kind", "document").with("title", thing.title).with("updatedAt", thing.updatedAt);
    record.with("createdAt", firstMoment).withTags(thing.tags);
    if (!thing.project.empty()) record.with("project", thing.project);
    const auto attach = [&](std::string_view key, PayloadNumber number) {
        if (number == 0) return;
        record.with(key, "@EXCHANGE@/" + fileName(number));
        sent_.insert(number);
    };
    attach("data", thing.data);
    attach("thumbnail", thing.thumbnail);
    attach("icon", thing.icon);
    request_.record(record);
}

std::map<std::string, PayloadNumber> Story::received() const {
    std::map<std::string, PayloadNumber> files;
    for (const auto& [uuid, thing] : things_) {
        if (thing.data != 0) files[uuid + ".data"] = thing.data;
        if (thing.thumbnail != 0) files[uuid + ".thumbnail"] = thing.thumbnail;
        if (thing.icon != 0) files[uuid + ".icon"] = thing.icon;
    }
    return files;
}

}  // namespace kelto
