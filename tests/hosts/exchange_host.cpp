// A small host of the library: it knows nothing but the C header, and passes on between its
// standard input and output and the four functions, so that a test can look at a whole process from
// outside.
//
//   exchange_host describe
//       writes one frame: "1" or "0" for the availability, a line feed, and the group path or
//       "NULL".
//   exchange_host exchange [--from-thread] [--scribble] [--in-flight] [--nested]
//       reads requests, runs the main loop, writes responses.
//       --from-thread   calls from another thread
//       --scribble      overwrites and frees each request as soon as the call has returned
//       --in-flight     reads all requests before any main loop runs, and starts them all
//       --nested        starts each request once more from inside its callback, context plus one
//
// A frame is a line of decimal numbers, the last of them a number of bytes, and these bytes.
// Requests: context, bytes. Responses: context, how many callbacks its call has had by then, 1 when
// it came on the main thread, 1 when it came out of kelto_apple_exchange itself, bytes.

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <glib.h>

#include "kelto_apple.h"

namespace {

struct Options {
    bool fromThread = false;
    bool scribble = false;
    bool inFlight = false;
    bool nested = false;
};

struct Request {
    std::intptr_t context = 0;
    std::string text;
};

/// What the callback, a plain function, has to know.
struct Host {
    Options options;
    std::thread::id mainThread = std::this_thread::get_id();
    std::map<std::intptr_t, Request> toNest;
    std::map<std::intptr_t, int> callbackCounts;
    std::size_t expected = 0;
    std::size_t arrived = 0;
};

// One program, one host.
Host& host() {
    static Host theHost;
    return theHost;
}

thread_local bool isInsideCall = false;

std::optional<Request> readRequest() {
    std::string line;
    if (!std::getline(std::cin, line)) return std::nullopt;
    const std::size_t blank = line.find(' ');
    Request request;
    std::size_t length = 0;
    std::from_chars(line.data(), line.data() + blank, request.context);
    std::from_chars(line.data() + blank + 1, line.data() + line.size(), length);
    request.text.resize(length);
    std::cin.read(request.text.data(), static_cast<std::streamsize>(length));
    if (!std::cin) return std::nullopt;
    return request;
}

void writeFrame(const std::string& numbers, std::string_view bytes) {
    std::cout << numbers << bytes.size() << '\n' << bytes << std::flush;
}

void start(const Request& request);

void answered(std::intptr_t context, const char* response) {
    Host& h = host();
    const int count = ++h.callbackCounts[context];
    const bool onMainThread = std::this_thread::get_id() == h.mainThread;
    writeFrame(std::to_string(context) + ' ' + std::to_string(count) + ' ' +
                   (onMainThread ? "1 " : "0 ") + (isInsideCall ? "1 " : "0 "),
               response);
    ++h.arrived;
    if (auto nested = h.toNest.extract(context); !nested.empty()) start(nested.mapped());
}

void call(const Request& request) {
    isInsideCall = true;
    if (host().options.scribble) {
        const std::size_t size = request.text.size() + 1;
        std::unique_ptr<char[]> buffer(new char[size]);
        std::memcpy(buffer.get(), request.text.c_str(), size);
        kelto_apple_exchange(buffer.get(), request.context, answered);
        std::memset(buffer.get(), 'x', size);
    } else {
        kelto_apple_exchange(request.text.c_str(), request.context, answered);
    }
    isInsideCall = false;
}

void start(const Request& request) {
    ++host().expected;
    if (host().options.fromThread) {
        std::thread([&request] { call(request); }).join();
    } else {
        call(request);
    }
}

void begin(const Request& request) {
    if (host().options.nested) {
        host().toNest[request.context] = {request.context + 1, request.text};
    }
    start(request);
}

void runMainLoop() {
    while (host().arrived < host().expected) g_main_context_iteration(nullptr, TRUE);
    // A second callback for the same call would come now.
    while (g_main_context_pending(nullptr) != FALSE) g_main_context_iteration(nullptr, FALSE);
}

int describe() {
    char* path = kelto_apple_group_path();
    const std::string available = std::to_string(kelto_apple_cloud_available());
    writeFrame("", available + '\n' + (path == nullptr ? "NULL" : path));
    kelto_apple_free(path);
    kelto_apple_free(nullptr);
    return EXIT_SUCCESS;
}

int exchange() {
    std::vector<Request> requests;
    while (auto request = readRequest()) {
        if (host().options.inFlight) {
            requests.push_back(std::move(*request));
            continue;
        }
        begin(*request);
        runMainLoop();
    }
    for (const Request& request : requests) begin(request);
    runMainLoop();
    return EXIT_SUCCESS;
}

}  // namespace

int main(int count, char** arguments) {
    const std::vector<std::string_view> words(arguments + 1, arguments + count);
    const std::set<std::string_view> given(words.begin(), words.end());
    std::ios::sync_with_stdio(false);
    // GLib writes debug messages to the standard output, which belongs to the frames.
    g_log_writer_default_set_use_stderr(TRUE);
    if (given.contains("describe")) return describe();
    host().options = {.fromThread = given.contains("--from-thread"),
                      .scribble = given.contains("--scribble"),
                      .inFlight = given.contains("--in-flight"),
                      .nested = given.contains("--nested")};
    return exchange();
}
