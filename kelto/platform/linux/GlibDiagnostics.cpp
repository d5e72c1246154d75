#include "kelto/platform/linux/GlibDiagnostics.hpp"

#include <cctype>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include <glib.h>

namespace kelto {

namespace {

constexpr const char* domain = "kelto";

/// "1.234": by hand, since a locale would choose the decimal point.
std::string milliseconds(std::chrono::nanoseconds time) {
    const auto all = std::chrono::duration_cast<std::chrono::microseconds>(time).count();
    const std::string thousandths = std::to_string(all % 1000);
    return std::to_string(all / 1000) + '.' + std::string(3 - thousandths.size(), '0') +
           thousandths;
}

/// "KELTO_ROWS": the journal wants names in capitals.
std::string fieldName(std::string_view name) {
    std::string field = "KELTO_";
    for (const char letter : name) {
        field += static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
    }
    return field;
}

/// The fields of one message. GLib only borrows texts, so they stay here until it has returned.
class Fields {
public:
    void add(std::string name, std::string value) {
        const std::string& keptName = texts_.emplace_back(std::move(name));
        const std::string& keptValue = texts_.emplace_back(std::move(value));
        fields_.push_back({keptName.c_str(), keptValue.c_str(), -1});
    }
    void log() const { g_log_structured_array(G_LOG_LEVEL_DEBUG, fields_.data(), fields_.size()); }

private:
    std::deque<std::string> texts_;
    std::vector<GLogField> fields_;
};

/// "exchange 3 saved: rows 2, files 1 (0.512 ms)"
std::string messageOf(const DiagnosticEvent& event) {
    const std::string_view refusal = event.refusal.get();
    std::string message =
        "exchange " + std::to_string(event.exchange) + ' ' + event.stage.get() + ':';
    if (!refusal.empty()) message.append(" ").append(refusal);
    for (const DiagnosticFigure& figure : event.figures) {
        if (message.back() != ':') message += ',';
        message.append(" ").append(figure.name.get()) += ' ' + std::to_string(figure.amount);
    }
    return message + " (" + milliseconds(event.time) + " ms)";
}

}  // namespace

bool GlibDiagnostics::isWanted() {
    return g_log_writer_default_would_drop(G_LOG_LEVEL_DEBUG, domain) == FALSE;
}

void GlibDiagnostics::tell(const DiagnosticEvent& event) {
    Fields fields;
    fields.add("GLIB_DOMAIN", domain);
    fields.add("PRIORITY", "7");  // the system log's number for debug messages
    fields.add("MESSAGE", messageOf(event));
    fields.add("KELTO_EXCHANGE", std::to_string(event.exchange));
    fields.add("KELTO_STAGE", event.stage.get());
    fields.add("KELTO_MILLISECONDS", milliseconds(event.time));
    if (*event.refusal.get() != '\0') fields.add("KELTO_REFUSAL", event.refusal.get());
    for (const DiagnosticFigure& figure : event.figures) {
        fields.add(fieldName(figure.name.get()), std::to_string(figure.amount));
    }
    fields.log();
}

}  // namespace kelto
