// What the tests of the front end's rooms stand on.
#pragma once

#include "harness.h"
#include "support/descriptor.h"
#include "support/failure.h"

#include <fstream>
#include <functional>
#include <type_traits>

#include <fcntl.h>
#include <unistd.h>

/// Runs a cell of a table in /srv/job, in the words of frontend.sh.
inline void prepare(const std::string& cell) {
    std::ofstream("/srv/cell") << "set -e; . '" TESTS_DIR "/command/words.bash'; . '" TESTS_DIR
                                  "/frontend.sh'\n"
                               << cell << "\n";
    ASSERT_EQ(runForReal("bash /srv/cell"), 0) << cell;
}

/// What a function returns, "done" if nothing, or what it is refused for or fails for.
template <typename Function>
std::string outcomeOf(const Function& function) {
    try {
        if constexpr (std::is_void_v<decltype(function())>) {
            function();
            return "done";
        } else {
            return function();
        }
    } catch (const velacreate::Refusal& refusal) {
        return std::string("refused: ") + refusal.what();
    } catch (const velacreate::Failure& failure) {
        return std::string("failed: ") + failure.what();
    }
}

/// Expects a text; the first "*" in it stands for any.
inline void expectText(const std::string& text, const std::string& expected) {
    const std::size_t star = expected.find('*');
    if (star == std::string::npos) {
        EXPECT_EQ(text, expected);
        return;
    }
    const std::string end = expected.substr(star + 1);
    EXPECT_TRUE(text.size() >= star + end.size() && text.compare(0, star, expected, 0, star) == 0 &&
                text.compare(text.size() - end.size(), end.size(), end) == 0)
        << text << "\nis not\n"
        << expected;
}

inline std::string joined(const Lines& lines, const std::string& separator) {
    std::string text;
    for (const auto& line : lines) {
        text += (text.empty() ? "" : separator) + line;
    }
    return text;
}

inline velacreate::Descriptor opened(const std::string& path, int flags = O_RDONLY) {
    return velacreate::Descriptor(open(path.c_str(), flags | O_CLOEXEC, 0600));
}

/// Counts what it is told.
struct Told {
    std::uint64_t bytes = 0;
    velacreate::Advance advance = [this](std::uint64_t more) { bytes += more; };
};

/// Something else in the place of standard output or standard error.
class Redirected {
public:
    Redirected(int number, const velacreate::Descriptor& target) : m_number(number), m_before(dup(number)) {
        dup2(target.number(), number);
    }
    Redirected(const Redirected&) = delete;
    Redirected& operator=(const Redirected&) = delete;
    ~Redirected() { dup2(m_before.number(), m_number); }

private:
    int m_number;
    velacreate::Descriptor m_before;
};

/// What is written to standard output, then, after a bar, to standard error.
inline std::string outputOf(const std::function<void()>& call) {
    {
        const Redirected output(STDOUT_FILENO, opened("said", O_WRONLY | O_CREAT | O_TRUNC | O_APPEND));
        const Redirected errors(STDERR_FILENO, opened("complained", O_WRONLY | O_CREAT | O_TRUNC | O_APPEND));
        call();
    }
    return contentOf("said") + "|" + contentOf("complained");
}
