#include "benchmarks/SampleLibrary.hpp"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "kelto/foundation/Uuid.hpp"

namespace kelto::bench {

namespace {

enum class Entity : std::uint8_t { project = 1, tag = 2, thing = 3 };

/// SplitMix64: every state gives a number that looks like chance.
std::uint64_t scattered(std::uint64_t& state) {
    state += 0x9E3779B97F4A7C15ULL;
    std::uint64_t mixed = state;
    mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9ULL;
    mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBULL;
    return mixed ^ (mixed >> 31);
}

/// The same identifiers in every run, spread like random ones.
std::string identifier(Entity entity, std::size_t number) {
    std::uint64_t state = number * 8 + static_cast<std::uint64_t>(entity);
    const std::uint64_t halves[2] = {scattered(state), scattered(state)};
    Uuid uuid;
    std::memcpy(uuid.bytes.data(), halves, sizeof halves);
    return uuid.lowerCaseText();
}

}  // namespace

SampleShape SampleShape::usual(std::size_t items) {
    SampleShape shape;
    shape.name = "usual";
    shape.items = items;
    return shape;
}

SampleShape SampleShape::linked(std::size_t items) {
    SampleShape shape;
    shape.name = "linked";
    shape.items = items;
    shape.payloadEvery = 1;
    shape.largeEvery = 0;
    shape.isLinkedFolder = true;
    return shape;
}

SampleShape SampleShape::tiny(std::size_t items) {
    SampleShape shape;
    shape.name = "tiny";
    shape.items = items;
    shape.payloadBytes = 256;
    shape.largeEvery = 0;
    return shape;
}

SampleShape SampleShape::named(std::string_view name, std::size_t items) {
    for (const auto make : {usual, linked, tiny}) {
        if (const SampleShape shape = make(items); shape.name == name) return shape;
    }
    throw std::runtime_error("there is no sample library of this name");
}

std::size_t SampleLibrary::projects() const {
    return shape_.isLinkedFolder ? 1 : std::max<std::size_t>(20, items() / 40);
}

std::string SampleLibrary::projectIdentifier(std::size_t project) {
    return identifier(Entity::project, project);
}

std::string SampleLibrary::tagIdentifier(std::size_t tag) {
    return identifier(Entity::tag, tag);
}

std::string SampleLibrary::itemIdentifier(std::size_t item) {
    return identifier(Entity::thing, item);
}

std::string SampleLibrary::projectName(std::size_t project) {
    return "Projekt Ünïcode " + std::to_string(project);
}

std::string SampleLibrary::tagName(std::size_t tag) {
    return "Schlagwort é " + std::to_string(tag);
}

std::string SampleLibrary::itemTitle(std::size_t item, std::size_t edits) {
    std::string title = "Ein schöner Titel Nr. " + std::to_string(item);
    if (edits > 0) title += ", Fassung " + std::to_string(edits + 1);
    return title;
}

std::size_t SampleLibrary::topProjects() const {
    return std::max<std::size_t>(1, projects() / 20);
}

std::size_t SampleLibrary::middleProjects() const {
    return std::max<std::size_t>(1, projects() / 5);
}

bool SampleLibrary::hasParent(std::size_t project) const {
    return project >= topProjects();
}

std::size_t SampleLibrary::parentOf(std::size_t project) const {
    const std::size_t below = project - topProjects();
    if (below < middleProjects()) return below % topProjects();
    return topProjects() + below % middleProjects();
}

std::size_t SampleLibrary::projectOf(std::size_t item) const {
    return item * 7 % projects();
}

std::size_t SampleLibrary::tagOf(std::size_t item, std::size_t place) {
    return (item + place * 13) % tagCount;
}

bool SampleLibrary::hasPayload(std::size_t item) const {
    return item % shape_.payloadEvery == 0;
}

std::size_t SampleLibrary::payloadSize(std::size_t item) const {
    if (!hasPayload(item)) return 0;
    const bool isLarge = shape_.largeEvery != 0 && item % shape_.largeEvery == 0;
    return isLarge ? shape_.largeBytes : shape_.payloadBytes;
}

std::string SampleLibrary::payload(std::size_t item, std::size_t replacements) const {
    std::string bytes(payloadSize(item), '\0');
    std::uint64_t state = item << 24U | replacements;
    for (std::size_t at = 0; at + sizeof state <= bytes.size(); at += sizeof state) {
        const std::uint64_t word = scattered(state);
        std::memcpy(&bytes[at], &word, sizeof word);
    }
    return bytes;
}

std::uint64_t SampleLibrary::payloadBytes() const {
    std::uint64_t sum = 0;
    for (std::size_t item = 0; item < items(); item += shape_.payloadEvery) {
        sum += payloadSize(item);
    }
    return sum;
}

}  // namespace kelto::bench
