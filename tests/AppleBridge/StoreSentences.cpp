#include <cerrno>
#include <chrono>
#include <filesystem>

#include "kelto/AppleBridge/CloudErrorDescription.hpp"
#include "kelto/model/Tag.hpp"
#include "kelto/persistence/Population.hpp"
#include "kelto/persistence/SqliteDatabase.hpp"
#include "tests/AppleBridge/SentenceCases.hpp"
#include "tests/support/FaultyDatabase.hpp"
#include "tests/support/Files.hpp"

namespace kelto {

namespace {

using Call = FaultyDatabase::Call;

const std::string store = "The library’s store “<store>” ";

/// Three tags, a project, and a thing with all of them and a payload too large for the database.
void fill(TestLibrary& library) {
    (void)library.exchange(
        RequestBuilder()
            .record(RecordBuilder::tag(identifier(11)))
            .record(RecordBuilder::tag(identifier(12)))
            .record(RecordBuilder::tag(identifier(13)))
            .record(RecordBuilder::project(identifier(20)))
            .record(RecordBuilder::thing(firstId)
                        .with("project", identifier(20))
                        .withTags({identifier(11)})
                        .with("updatedAt", 1000)
                        .with("data", library.putFile("in", std::string(300'000, 'x')))));
}

/// What an exchange that saves something says while SQLite's calls fail.
std::string answerWhile(Call call, const char* file, int errorNumber, bool isOpen) {
    TestLibrary library;
    fill(library);
    if (!isOpen) library.restart();
    const FaultyDatabase broken(call, file, errorNumber);
    return library.exchange(RequestBuilder().record(RecordBuilder::tag(identifier(14)))).error();
}

/// Puts bytes into the store's file while nobody has it open.
void overwrite(TestLibrary& library, std::size_t place, std::string_view bytes) {
    fill(library);
    library.restart();
    std::string file = readFile(library.storePath());
    file.replace(place, bytes.size(), bytes);
    writeFile(library.storePath(), file);
}

std::string answerWhileAnotherWrites() {
    TestLibrary library;
    fill(library);
    SqliteDatabase other(library.storePath(), std::chrono::milliseconds(0));
    other.run("BEGIN IMMEDIATE");
    // An exchange would say the same after five seconds.
    try {
        SqliteDatabase(library.storePath(), std::chrono::milliseconds(1)).run("BEGIN IMMEDIATE");
    } catch (const PlatformError& error) {
        return cloudErrorDescription(error);
    }
    return "it did not wait";
}

/// Another program writes into a store at rest, past all rules.
std::function<std::string()> afterChange(const char* sql) {
    return [sql] {
        TestLibrary library;
        fill(library);
        library.restart();
        library.changeStore("PRAGMA ignore_check_constraints = ON; " + std::string(sql));
        return library.exchange().error();
    };
}

std::string answerToRowsOutOfOrder() {
    ObjectEnvironment environment{std::make_shared<FakeClock>(), std::make_shared<SeededRandom>(1)};
    Population population{Tag::description()};
    population.add(Tag::description().make(environment, 2));
    try {
        population.add(Tag::description().make(environment, 1));
    } catch (const PlatformError& error) {
        return cloudErrorDescription(error);
    }
    return "they were taken";
}

SentenceCase damage(const char* name,
                    const std::string& finding,
                    std::function<std::string()> produce) {
    return {name, "…: " + finding + ". …", std::move(produce)};
}

}  // namespace

std::vector<SentenceCase> storeSentences() {
    return {
        {"Busy",
         store + "is in use by another program. Try again when that has finished.",
         answerWhileAnotherWrites},
        {"Full",
         store + "couldn’t be saved because there isn’t enough space.",
         [] { return answerWhile(Call::write, "Kelto.store-wal", ENOSPC, true); }},
        {"ReadOnly",
         store + "couldn’t be saved because it is read only.",
         [] { return answerWhile(Call::openForWriting, "Kelto.store", EACCES, false); }},
        {"NoRoomBeside",
         store + "couldn’t be opened. Its folder may be full, or not writable.",
         [] { return answerWhile(Call::create, "-wal", ENOSPC, false); }},
        {"TooManyFiles",
         store + "couldn’t be opened (<reason>).",
         [] { return answerWhile(Call::open, "Kelto.store", EMFILE, false); }},
        {"NoStore",
         store + "couldn’t be opened because the file there isn’t a library store. Move it away "
                 "to start an empty library.",
         refusedAfter([](TestLibrary& library, RequestBuilder&) {
             writeFile(library.storePath(), std::string(5000, 'x'));
         })},
        {"NoDatabase",
         store + "couldn’t be opened because it isn’t a library store.",
         refusedAfter([](TestLibrary& library, RequestBuilder&) {
             overwrite(library, 16, "\3\3");  // the size of a page
         })},
        {"Newer",
         store + "was written by a newer version of Kelto. Update this application to open it.",
         refusedAfter([](TestLibrary& library, RequestBuilder&) {
             fill(library);
             library.restart();
             library.changeStore("PRAGMA user_version = 1000");
         })},
        {"Moved",
         store + "was moved or replaced while it was in use. Start this application again.",
         refusedAfter([](TestLibrary& library, RequestBuilder&) {
             fill(library);
             std::filesystem::rename(library.storePath(), library.storePath() + " away");
         })},
        {"FailingDiskBelow",
         store + "couldn’t be used (<reason>).",
         [] { return answerWhile(Call::sync, "Kelto.store-wal", EIO, true); }},
        {"DamagedPages",
         store + "is damaged (<finding>). “keltoctl doctor” says where, and mends what can be "
                 "mended.",
         refusedAfter([](TestLibrary& library, RequestBuilder&) {
             overwrite(library, 4096, std::string(20 * 4096, '\x7F'));
         })},
    };
}

std::vector<SentenceCase> damageSentences() {
    const auto noSuchProject = afterChange("UPDATE Thing SET project = 999");
    return {
        {"AnyDamage",
         "The library’s store is damaged: <finding>. “keltoctl doctor” says where, and mends what "
         "can be mended.",
         noSuchProject},
        damage("NoOtherEnd", "a record refers to one that is not there", noSuchProject),
        damage("OutOfOrder", "its records are not in their order", answerToRowsOutOfOrder),
        damage("NoList",
               "a stored list of records is ill-formed",
               afterChange("UPDATE Thing SET tags = '[1'")),
        damage("ShortIdentifier",
               "a stored identifier or digest has the wrong length",
               afterChange("UPDATE Tag SET uuid = x'00'")),
        damage("InfiniteNumber",
               "a stored number is out of range",
               afterChange("UPDATE Thing SET aspectRatio = 9e999")),
        damage("DistantDate",
               "a stored date is out of range",
               afterChange("UPDATE Thing SET trashedAt = 9e999")),
        damage("LostPayload",
               "the bytes of a file are missing or changed (<digest>)",
               refusedAfter([](TestLibrary& library, RequestBuilder&) {
                   fill(library);
                   library.clearReceived();
                   for (const std::string& file : library.externalFiles()) {
                       std::filesystem::remove(library.externalFolder() + "/" + file);
                   }
               })),
    };
}

}  // namespace kelto
