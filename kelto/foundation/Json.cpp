#include "kelto/foundation/Json.hpp"

#include <algorithm>
#include <unordered_map>

#include "kelto/foundation/FatalError.hpp"
#include "kelto/foundation/JsonReader.hpp"
#include "kelto/foundation/JsonWriter.hpp"

namespace kelto {

namespace {

JsonValue readValue(JsonReader& reader);

/// The members of one object while they are read: finds a key that was there before, without a look
/// at every member once there are many.
class MemberCollector {
public:
    void set(std::string_view key, JsonValue value) {
        const std::size_t place = find(key);
        if (place != members_.size()) {
            members_[place].second = std::move(value);
            return;
        }
        members_.emplace_back(key, std::move(value));
        if (!places_.empty()) places_.emplace(key, place);
    }
    JsonMembers take() { return std::move(members_); }

private:
    std::size_t find(std::string_view key) {
        constexpr std::size_t worthAnIndex = 16;
        if (members_.size() < worthAnIndex) {
            const auto found =
                std::find_if(members_.begin(), members_.end(), [key](const auto& member) {
                    return member.first == key;
                });
            return static_cast<std::size_t>(found - members_.begin());
        }
        if (places_.empty()) {
            for (std::size_t i = 0; i < members_.size(); ++i) places_.emplace(members_[i].first, i);
        }
        const auto found = places_.find(std::string(key));
        return found == places_.end() ? members_.size() : found->second;
    }

    JsonMembers members_;
    std::unordered_map<std::string, std::size_t> places_;
};

JsonValue readObject(JsonReader& reader) {
    MemberCollector members;
    reader.enterObject();
    while (const auto key = reader.nextKey()) members.set(*key, readValue(reader));
    return members.take();
}

JsonValue readArray(JsonReader& reader) {
    JsonElements elements;
    reader.enterArray();
    while (reader.nextElement()) elements.push_back(readValue(reader));
    return elements;
}

/// Recursive: the reader bounds the depth.
JsonValue readValue(JsonReader& reader) {
    switch (reader.kind()) {
        case JsonKind::object:
            return readObject(reader);
        case JsonKind::array:
            return readArray(reader);
        case JsonKind::string:
            return reader.string();
        case JsonKind::number:
            return JsonNumber{std::string(reader.numberToken())};
        case JsonKind::boolean:
            return reader.boolean();
        case JsonKind::null:
            reader.null();
            return nullptr;
    }
    fatalError("A JSON value is of no kind");
}

/// Writes a tree, compact or with one member or element on each line.
class TreePrinter {
public:
    enum class Layout { compact, indented };

    TreePrinter(std::string& out, Layout layout) : out_(out), layout_(layout) {}

    void print(const JsonValue& value) {
        if (const JsonMembers* members = value.object()) {
            printAll(*members, '{', '}', [this](const auto& member) {
                appendJsonString(out_, member.first);
                out_ += layout_ == Layout::indented ? ": " : ":";
                print(member.second);
            });
        } else if (const JsonElements* elements = value.array()) {
            printAll(*elements, '[', ']', [this](const JsonValue& element) { print(element); });
        } else if (const std::string* string = value.string()) {
            appendJsonString(out_, *string);
        } else if (const JsonNumber* number = value.number()) {
            out_ += number->text;
        } else if (const bool* boolean = value.boolean()) {
            out_ += *boolean ? "true" : "false";
        } else {
            out_ += "null";
        }
    }

private:
    template <typename Children, typename PrintChild>
    void printAll(const Children& children, char open, char close, const PrintChild& printChild) {
        out_ += open;
        ++depth_;
        bool first = true;
        for (const auto& child : children) {
            if (!first) out_ += ',';
            first = false;
            startLine();
            printChild(child);
        }
        --depth_;
        if (!first) startLine();
        out_ += close;
    }

    void startLine() {
        if (layout_ == Layout::compact) return;
        out_ += '\n';
        out_.append(2 * depth_, ' ');
    }

    std::string& out_;
    Layout layout_;
    std::size_t depth_ = 0;
};

template <typename Members>
auto findMember(Members& members, std::string_view key) {
    return std::find_if(
        members.begin(), members.end(), [key](const auto& member) { return member.first == key; });
}

}  // namespace

std::optional<std::int64_t> JsonNumber::integer() const {
    return readJsonNumber(text).integer;
}

std::optional<double> JsonNumber::real() const {
    return readJsonNumber(text).real;
}

JsonValue::JsonValue(std::int64_t value) {
    JsonNumber number;
    appendJsonInteger(number.text, value);
    value_ = std::move(number);
}

JsonValue::JsonValue(double value) {
    JsonNumber number;
    appendJsonDouble(number.text, value);
    value_ = std::move(number);
}

JsonValue JsonValue::parse(std::string_view text) {
    JsonReader reader(text);
    JsonValue value = readValue(reader);
    reader.finish();
    return value;
}

const JsonValue* JsonValue::member(std::string_view key) const {
    const JsonMembers* members = object();
    if (members == nullptr) return nullptr;
    const auto found = findMember(*members, key);
    return found == members->end() ? nullptr : &found->second;
}

void JsonValue::setMember(std::string_view key, JsonValue value) {
    JsonMembers* members = object();
    if (members == nullptr) fatalError("A member was set on a JSON value that is no object");
    const auto found = findMember(*members, key);
    if (found == members->end()) {
        members->emplace_back(key, std::move(value));
    } else {
        found->second = std::move(value);
    }
}

bool JsonValue::removeMember(std::string_view key) {
    JsonMembers* members = object();
    if (members == nullptr) return false;
    const auto found = findMember(*members, key);
    if (found == members->end()) return false;
    members->erase(found);
    return true;
}

std::string JsonValue::text() const {
    std::string out;
    TreePrinter(out, TreePrinter::Layout::compact).print(*this);
    return out;
}

std::string JsonValue::indentedText() const {
    std::string out;
    TreePrinter(out, TreePrinter::Layout::indented).print(*this);
    return out;
}

}  // namespace kelto
