#include "tests/processes/HostLibrary.hpp"

#include <cstdlib>
#include <filesystem>

#include <gtest/gtest.h>

#include "tests/support/Files.hpp"

namespace kelto {

HostLibrary::HostLibrary() {
    std::filesystem::create_directories(exchangeFolder());
}

HostProcess::Options HostLibrary::process(const std::vector<std::string>& arguments) const {
    HostProcess::Options options{.program = KELTO_HOST, .arguments = arguments, .environment = {}};
    options.environment["XDG_DATA_HOME"] = folder_.path("data");
    return options;
}

std::string HostLibrary::text(const RequestBuilder& request) const {
    return request.text(libraryFolder() + "/Kelto.store", exchangeFolder());
}

Response HostLibrary::exchangeOnce(const RequestBuilder& request) {
    HostProcess host(process());
    Response response = host.ask(text(request)).response();
    EXPECT_EQ(host.wait(), HostEnd()) << host.standardError();
    return response;
}

std::string HostLibrary::putFile(std::string_view name, std::string_view bytes) const {
    std::string path = exchangeFolder() + "/" + std::string(name);
    writeFile(path, bytes);
    return path;
}

}  // namespace kelto
