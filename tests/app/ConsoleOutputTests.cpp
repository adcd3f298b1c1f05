#include "vantaquill/ConsoleOutput.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <unistd.h>

namespace vq {
namespace {

/// Everything the pipe holds now.
std::string drain(int descriptor) {
    std::string read;
    char buffer[65536];
    for (ssize_t count; (count = ::read(descriptor, buffer, sizeof buffer)) > 0;)
        read.append(buffer, static_cast<std::size_t>(count));
    return read;
}

TEST(ConsoleOutput, AReaderThatStopsReadingNeverStopsTheIslandAndLosesOnlyWholeLines) {
    int ends[2];
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    ::fcntl(ends[0], F_SETFL, O_NONBLOCK);
    ConsoleOutput output(ends[1]);
    int waitingChanges = 0;
    bool waiting = false;
    output.onWaiting = [&](bool now) {
        ++waitingChanges;
        waiting = now;
    };

    // Far more than the pipe and the waiting buffer hold together: every call returns.
    const std::string line(100, 'x');
    constexpr int lines = 10000;
    for (int i = 0; i < lines; ++i)
        output.line(std::to_string(i) + " " + line);
    EXPECT_TRUE(waiting);
    EXPECT_EQ(waitingChanges, 1);

    // The reader comes back: what waited arrives, then the count of what was dropped, then new lines.
    std::string received = drain(ends[0]);
    while (output.waiting()) {
        output.flush();
        received += drain(ends[0]);
    }
    EXPECT_FALSE(waiting);
    output.line("after");
    received += drain(ends[0]);

    std::size_t whole = 0;
    std::size_t start = 0;
    std::string note;
    for (std::size_t end; (end = received.find('\n', start)) != std::string::npos; start = end + 1) {
        const std::string got = received.substr(start, end - start);
        if (got.starts_with("(")) {
            note = got;
        } else if (got != "after") {
            EXPECT_EQ(got, std::to_string(whole++) + " " + line) << "a line arrived cut or out of order";
        }
    }
    EXPECT_EQ(start, received.size()) << "the output ends inside a line";
    ASSERT_LT(whole, static_cast<std::size_t>(lines));
    EXPECT_EQ(note, "(" + std::to_string(lines - whole) + " lines were dropped: nothing read them in time)");
    EXPECT_TRUE(received.ends_with("\nafter\n"));
    ::close(ends[0]);
    ::close(ends[1]);
}

} // namespace
} // namespace vq
