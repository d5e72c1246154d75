#include "kelto/persistence/RowList.hpp"

#include <array>
#include <charconv>
#include <limits>

#include "kelto/persistence/ModelObject.hpp"
#include "kelto/persistence/StoreErrors.hpp"

namespace kelto {

namespace {

/// Room for any row number: its digits, one more that digits10 leaves out, and a sign.
constexpr std::size_t longestNumber = std::numeric_limits<std::int64_t>::digits10 + 2;

/// Goes over the text of a list from its start to its end.
class ListScan {
public:
    explicit ListScan(std::string_view list)
        : place_(list.data()), end_(list.data() + list.size()) {}

    /// Whether that character comes next, blanks aside; if so, it is passed over.
    [[nodiscard]] bool takes(char wanted) {
        skipBlanks();
        if (place_ == end_ || *place_ != wanted) return false;
        ++place_;
        return true;
    }

    [[nodiscard]] std::int64_t number() {
        skipBlanks();
        std::int64_t row = 0;
        const auto [after, error] = std::from_chars(place_, end_, row);
        if (error != std::errc()) throw illFormed();
        place_ = after;
        return row;
    }

    void expectEnd() {
        skipBlanks();
        if (place_ != end_) throw illFormed();
    }

    [[nodiscard]] static PlatformError illFormed() {
        return damagedStore("a stored list of records is ill-formed");
    }

private:
    void skipBlanks() {
        while (place_ != end_ && (*place_ == ' ' || (*place_ >= '\t' && *place_ <= '\r'))) ++place_;
    }

    const char* place_;
    const char* end_;
};

}  // namespace

std::string rowListOf(const std::vector<ModelObject*>& objects) {
    std::string list = "[";
    std::array<char, longestNumber> digits{};
    for (const ModelObject* object : objects) {
        if (list.size() > 1) list += ',';
        const auto written =
            std::to_chars(digits.data(), digits.data() + digits.size(), object->row());
        list.append(digits.data(), written.ptr);
    }
    list += ']';
    return list;
}

std::vector<std::int64_t> rowsOf(std::string_view list) {
    std::vector<std::int64_t> rows;
    appendRowsOf(list, rows);
    return rows;
}

void appendRowsOf(std::string_view list, std::vector<std::int64_t>& rows) {
    ListScan scan(list);
    if (!scan.takes('[')) throw ListScan::illFormed();
    if (!scan.takes(']')) {
        do rows.push_back(scan.number());
        while (scan.takes(','));
        if (!scan.takes(']')) throw ListScan::illFormed();
    }
    scan.expectEnd();
}

}  // namespace kelto
