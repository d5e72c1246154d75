// One program of libFuzzer for one target, named by the build.

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "tests/fuzz/FuzzTarget.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const kelto::FuzzTarget* const target = [] {
        const auto targets = kelto::fuzzTargets();
        return &*std::find_if(targets.begin(), targets.end(), [](const auto& each) {
            return each.name == KELTO_FUZZ_TARGET;
        });
    }();
    target->run({reinterpret_cast<const char*>(data), size});
    return 0;
}
