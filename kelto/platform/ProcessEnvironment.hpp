#pragma once

#include <map>
#include <string>

namespace kelto {

/// The environment variables of the process. May be asked from any thread.
class ProcessEnvironment {
public:
    virtual ~ProcessEnvironment() = default;
    /// A fresh copy of all variables; of a name that stands twice, the later one.
    [[nodiscard]] virtual std::map<std::string, std::string> variables() = 0;
};

}  // namespace kelto
