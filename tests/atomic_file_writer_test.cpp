#include "exchange/atomic_file_writer.hpp"
#include "support/test_support.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
#endif

namespace korvath::test {
namespace {

TEST(AtomicFileWriter, CreatesMissingDirectoriesAndWritesBytesUnchanged) {
    const fs::path target = scratch_dir("writer") / "a" / "b" / "report.txt",
                   temporary = fs::path(target) += ".tmp";
    // A temporary file left by a crash is truncated, reused and gone afterwards.
    write_file(temporary, "left over from a crash, longer than any content below");
    for (std::string_view content : {std::string_view("x=1\ny=2\n"), std::string_view(""),
                                     std::string_view("no newline\r\n\0tail", 18)}) {
        write_text_file_atomically(target, content);
        EXPECT_EQ(read_file(target), content);
        EXPECT_FALSE(fs::exists(temporary));
    }
}

TEST(AtomicFileWriter, FailuresKeepTheOldReportAndLaterWritesSucceed) {
    const fs::path dir = scratch_dir("writer");
    const fs::path target = dir / "report.txt", temporary = fs::path(target) += ".tmp";
    write_text_file_atomically(target, "old\n");

    // The temporary file cannot be created: a directory sits at its path.
    fs::create_directory(temporary);
    write_text_file_atomically(target, "new\n");
    EXPECT_EQ(read_file(target), "old\n");
    fs::remove(temporary);
    write_text_file_atomically(target, "new\n");
    EXPECT_EQ(read_file(target), "new\n");

    // The directory cannot be created: a file sits where it should be.
    const fs::path blocked = dir / "blocked";
    write_file(blocked, "a file, not a directory");
    EXPECT_NO_THROW(write_text_file_atomically(blocked / "report.txt", "x\n"));
    fs::remove(blocked);
    write_text_file_atomically(blocked / "report.txt", "x\n");
    EXPECT_EQ(read_file(blocked / "report.txt"), "x\n");
}

TEST(AtomicFileWriter, ConcurrentReaderSeesOldOrNewContentNeverAMixture) {
    const fs::path target = scratch_dir("writer") / "status.txt";
    const std::string a(64 * 1024, 'a');
    const std::string b(96 * 1024, 'b');
    write_text_file_atomically(target, a);

    std::atomic<bool> done{false};
    std::atomic<int> reads{0}, mixed{0}, absent{0};
    std::thread reader([&] {
        while (!done.load()) {
            std::string seen;
            try {
                seen = read_file(target);
            } catch (...) {
                absent.fetch_add(1);
                continue;
            }
            reads.fetch_add(1);
            if (seen != a && seen != b)
                mixed.fetch_add(1);
        }
    });
    std::thread writer([&] {
        for (int i = 0; i < 400; ++i)
            write_text_file_atomically(target, i % 2 ? a : b);
        done.store(true);
    });
    writer.join();
    reader.join();
    EXPECT_GT(reads.load(), 0);
    EXPECT_EQ(read_file(target), a); // the last of the writes
#ifdef _WIN32
    // Windows renames over a file that a reader holds open only with POSIX semantics (Windows 10 1809
    // and later, NTFS); elsewhere, Wine included, the writer falls back to removing and copying, so a
    // reader may miss the report or catch a copy half done. Counted, not failed.
    RecordProperty("absent", absent.load());
    RecordProperty("mixed", mixed.load());
#else
    EXPECT_EQ(mixed.load(), 0);
    EXPECT_EQ(absent.load(), 0); // rename replaces in one step: the file never disappears
#endif
}

#ifdef _WIN32
// A reader that does not share delete access (as the C runtime's fopen opens) blocks every rename over
// the report: the new content still lands, by copy, and no temporary file is left.
TEST(AtomicFileWriter, ReaderWithoutDeleteSharingGetsTheReportCopiedOver) {
    const fs::path target = scratch_dir("writer") / "status.txt";
    write_text_file_atomically(target, "old\n");
    const HANDLE reader = CreateFileW(target.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                      nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(reader, INVALID_HANDLE_VALUE);
    write_text_file_atomically(target, "new, and longer\n");
    CloseHandle(reader);
    EXPECT_EQ(read_file(target), "new, and longer\n");
    EXPECT_FALSE(fs::exists(fs::path(target) += ".tmp"));
}
#endif

TEST(AtomicFileWriter, WritersOnSeveralThreadsNeverInterleave) {
    const fs::path dir = scratch_dir("writer");
    std::vector<std::thread> writers;
    for (int t = 0; t < 4; ++t)
        writers.emplace_back([&, t] {
            const std::string content(8192, static_cast<char>('a' + t));
            for (int i = 0; i < 100; ++i)
                write_text_file_atomically(dir / "shared.txt", content);
        });
    for (auto& w : writers)
        w.join();
    const std::string last = read_file(dir / "shared.txt");
    ASSERT_EQ(last.size(), 8192u);
    EXPECT_EQ(last.find_first_not_of(last[0]), std::string::npos);
}

} // namespace
} // namespace korvath::test
