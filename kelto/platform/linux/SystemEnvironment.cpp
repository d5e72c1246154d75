#include "kelto/platform/linux/SystemEnvironment.hpp"

#include <string_view>

#include <unistd.h>

#include "kelto/foundation/Text.hpp"

namespace kelto {

std::map<std::string, std::string> SystemEnvironment::variables() {
    std::map<std::string, std::string> variables;
    if (environ == nullptr) return variables;  // after clearenv()
    for (char** each = environ; *each != nullptr; ++each) {
        const std::string_view entry = *each;
        const std::size_t equals = entry.find('=');
        if (equals == std::string_view::npos) continue;
        variables.insert_or_assign(repairedUtf8(entry.substr(0, equals)),
                                   repairedUtf8(entry.substr(equals + 1)));
    }
    return variables;
}

}  // namespace kelto
