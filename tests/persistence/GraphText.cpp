#include "tests/persistence/GraphText.hpp"

#include <sstream>

#include "kelto/model/Project.hpp"
#include "kelto/model/Tag.hpp"
#include "kelto/model/Thing.hpp"

namespace kelto {

namespace {

/// Prints the values of a row.
class RowText final : public RowWriter {
public:
    explicit RowText(std::ostringstream& text) : text_(text) { text_.precision(17); }
    void null(int) override { text_ << " null"; }
    void integer(int, std::int64_t value) override { text_ << ' ' << value; }
    void real(int, double value) override { text_ << ' ' << value; }
    void text(int, std::string_view value) override { text_ << " '" << value << '\''; }
    void blob(int, Bytes value) override {
        text_ << " x'" << std::hex;
        for (const std::byte byte : value) text_ << std::to_integer<int>(byte) << '.';
        text_ << std::dec << '\'';
    }

private:
    std::ostringstream& text_;
};

std::string lineOf(const ModelObject& object) {
    std::ostringstream text;
    text << object.entity().name << ' ' << object.row() << ':';
    RowText values(text);
    int column = 0;
    for (const auto& attribute : object.entity().attributes) {
        attribute.write(object, values, column++);
    }
    for (const auto& relationship : object.entity().relationships) {
        text << ' ' << relationship.name << " [";
        for (const ModelObject* other : relationship.related(object)) text << other->row() << ' ';
        text << ']';
    }
    return text.str();
}

}  // namespace

std::vector<std::string> linesOf(ModelContext& context) {
    std::vector<std::string> lines;
    const auto append = [&lines](const auto& objects) {
        for (const ModelObject* object : objects) lines.push_back(lineOf(*object));
    };
    append(context.fetch<Project>());
    append(context.fetch<Tag>());
    append(context.fetch<Thing>());
    return lines;
}

}  // namespace kelto
