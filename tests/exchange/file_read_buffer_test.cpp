// The bounded whole-file read under the input tables and the role file: whatever is in the file's
// place, the read ends, keeps at most its limit and says whether there was more.

#include "exchange/file_read_buffer.hpp"
#include "support/test_support.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <limits>
#ifndef _WIN32
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace korvath::test {
namespace {

constexpr std::size_t kLimit = 100'000; // past the inline storage, so the heap growth is taken too
constexpr int64_t kAnyTime = std::numeric_limits<int64_t>::min();

TEST(FileReadBuffer, AnythingInTheFilesPlaceIsReadUpToTheLimitWithoutBlocking) {
    const fs::path dir = scratch_dir("read-buffer");
    struct Case {
        std::string name;
        std::function<fs::path()> make;
        bool readable;
        std::size_t size;
        bool truncated;
    };
    const auto file_of = [&](std::size_t size) {
        return [&dir, size] {
            const fs::path path = dir / std::to_string(size);
            write_file(path, std::string(size, 'x'));
            return path;
        };
    };
    std::vector<Case> cases = {
        {"empty file", file_of(0), true, 0, false},
        {"file of exactly the limit", file_of(kLimit), true, kLimit, false},
        {"file one byte longer", file_of(kLimit + 1), true, kLimit, true},
        {"missing file", [&] { return dir / "missing"; }, false, 0, false},
        {"directory", [&] { return dir; }, false, 0, false},
    };
#ifndef _WIN32
    for (const char* device : {"/dev/zero", "/dev/urandom"})
        cases.push_back({device, [device] { return fs::path(device); }, true, kLimit, true});
    cases.push_back({"FIFO without a writer",
                     [&] {
                         EXPECT_EQ(mkfifo((dir / "fifo").c_str(), 0600), 0);
                         return dir / "fifo";
                     },
                     true, 0, false});
    // A writer that holds the FIFO open but never writes: the read fails at once instead of waiting.
    int writer = -1;
    cases.push_back({"FIFO with a silent writer",
                     [&] {
                         EXPECT_EQ(mkfifo((dir / "held").c_str(), 0600), 0);
                         writer = ::open((dir / "held").c_str(), O_RDWR | O_NONBLOCK);
                         return dir / "held";
                     },
                     false, 0, false});
#endif
    for (const Case& c : cases) {
        FileReadBuffer buffer(kLimit);
        const fs::path path = c.make();
        EXPECT_EQ(buffer.read(path.parent_path(), path.filename().wstring(), kAnyTime), c.readable) << c.name;
        EXPECT_EQ(buffer.bytes().size(), c.size) << c.name;
        EXPECT_EQ(buffer.truncated(), c.truncated) << c.name;
    }
#ifndef _WIN32
    EXPECT_EQ(::close(writer), 0);
#endif
}

} // namespace
} // namespace korvath::test
