#include <cstdlib>
#include <map>
#include <optional>
#include <string>

#include <glib.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/platform/linux/GlibDiagnostics.hpp"

namespace kelto {
namespace {

using Fields = std::map<std::string, std::string>;

Fields& lastMessage() {
    static Fields fields;
    return fields;
}

GLogWriterOutput keep(GLogLevelFlags, const GLogField* fields, gsize count, gpointer) {
    lastMessage().clear();
    for (gsize i = 0; i < count; ++i) {
        lastMessage()[fields[i].key] = static_cast<const char*>(fields[i].value);
    }
    return G_LOG_WRITER_HANDLED;
}

/// The message that GLib is handed for an event.
Fields messageFor(const DiagnosticEvent& event) {
    // GLib takes a writer once in the life of a process; nothing else in this program logs.
    static const bool isSet = (g_log_set_writer_func(&keep, nullptr, nullptr), true);
    EXPECT_TRUE(isSet);
    GlibDiagnostics().tell(event);
    return lastMessage();
}

/// The variable by which people ask GLib for messages, as it was afterwards.
class MessagesDebug {
public:
    explicit MessagesDebug(const char* domains) {
        if (const char* before = std::getenv(name)) before_ = before;
        if (domains == nullptr) {
            ::unsetenv(name);
        } else {
            ::setenv(name, domains, 1);
        }
    }
    MessagesDebug(const MessagesDebug&) = delete;
    MessagesDebug& operator=(const MessagesDebug&) = delete;
    ~MessagesDebug() {
        if (before_) {
            ::setenv(name, before_->c_str(), 1);
        } else {
            ::unsetenv(name);
        }
    }

private:
    static constexpr const char* name = "G_MESSAGES_DEBUG";
    std::optional<std::string> before_;
};

bool isWantedWith(const char* domains) {
    const MessagesDebug asked(domains);
    return GlibDiagnostics().isWanted();
}

TEST(GlibDiagnostics, AreWantedWhenGlibWouldShowThem) {
    EXPECT_FALSE(isWantedWith(nullptr));
    EXPECT_FALSE(isWantedWith(""));
    EXPECT_FALSE(isWantedWith("Gtk"));
    EXPECT_TRUE(isWantedWith("kelto"));
    EXPECT_TRUE(isWantedWith("Gtk kelto"));
    EXPECT_TRUE(isWantedWith("all"));
}

TEST(GlibDiagnostics, GiveEachFigureAFieldOfItsOwn) {
    EXPECT_EQ(messageFor({.stage = "saved",
                          .exchange = 3,
                          .time = std::chrono::microseconds(12'045),
                          .figures = {{"rows", 2}, {"files", 1}}}),
              (Fields{{"GLIB_DOMAIN", "kelto"},
                      {"PRIORITY", "7"},
                      {"MESSAGE", "exchange 3 saved: rows 2, files 1 (12.045 ms)"},
                      {"KELTO_EXCHANGE", "3"},
                      {"KELTO_STAGE", "saved"},
                      {"KELTO_MILLISECONDS", "12.045"},
                      {"KELTO_ROWS", "2"},
                      {"KELTO_FILES", "1"}}));
}

TEST(GlibDiagnostics, NameTheKindOfARefusal) {
    const Fields fields = messageFor({.stage = "refused",
                                      .exchange = 12,
                                      .time = std::chrono::seconds(2),
                                      .figures = {{"code", -5}},
                                      .refusal = "file"});
    EXPECT_EQ(fields.at("MESSAGE"), "exchange 12 refused: file, code -5 (2000.000 ms)");
    EXPECT_EQ(fields.at("KELTO_REFUSAL"), "file");
    EXPECT_EQ(fields.at("KELTO_CODE"), "-5");
}

}  // namespace
}  // namespace kelto
