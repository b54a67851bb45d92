#include "exchange/atomic_file_writer.hpp"
#include "support/test_support.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

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
        EXPECT_TRUE(read_file(target) == content && !fs::exists(temporary));
    }
}

TEST(AtomicFileWriter, EmptyDirectoriesInTheWayAreClearedOthersKeepTheOldReport) {
    const fs::path dir = scratch_dir("writer"), target = dir / "report.txt",
                   temporary = dir / "report.txt.tmp";
    for (const fs::path& blocker : {temporary, target}) { // an empty directory: the report is written at once
        fs::remove(target);
        fs::create_directory(blocker);
        write_text_file_atomically(target, "new\n");
        EXPECT_TRUE(read_file(target) == "new\n" && !fs::exists(temporary)) << blocker;
    }

    // A directory with something in it is never removed: at the temporary name the old report stays;
    // at the report's own name nothing is written and no temporary file is left.
    write_text_file_atomically(target, "old\n");
    write_file(temporary / "keep", "k");
    write_text_file_atomically(target, "new\n");
    EXPECT_EQ(read_file(target) + read_file(temporary / "keep"), "old\nk");
    fs::remove_all(temporary);
    fs::remove(target);
    write_file(target / "keep", "k");
    EXPECT_NO_THROW(write_text_file_atomically(target, "new\n"));
    EXPECT_TRUE(read_file(target / "keep") == "k" && !fs::exists(temporary));
}

// Writers on several threads, each with its own letter and length, and a reader at once: the reader
// always finds one writer's whole content, never a mixture of two nor no file at all.
TEST(AtomicFileWriter, ConcurrentWritersAndAReaderNeverMeetAMixtureOrAMissingFile) {
    const fs::path target = scratch_dir("writer") / "status.txt";
    constexpr int kWriters = 3;
    const auto content_of = [](int t) {
        return std::string((64 + 32 * t) * 1024, static_cast<char>('a' + t));
    };
    const auto whole = [&](const std::string& seen) {
        const int t = seen.empty() ? -1 : seen[0] - 'a';
        return t >= 0 && t < kWriters && seen == content_of(t);
    };
    write_text_file_atomically(target, content_of(0));
    std::atomic<int> writing{kWriters}, reads{0}, bad{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kWriters; ++t)
        threads.emplace_back([&, t] {
            for (int i = 0; i < 150; ++i)
                write_text_file_atomically(target, content_of(t));
            writing.fetch_sub(1);
        });
    threads.emplace_back([&] {
        for (; writing.load() > 0; reads.fetch_add(1)) {
            try {
                bad.fetch_add(whole(read_file(target)) ? 0 : 1);
            } catch (const std::runtime_error&) { // rename replaces in one step: the file never disappears
                bad.fetch_add(1);
            }
        }
    });
    for (auto& thread : threads)
        thread.join();
    EXPECT_TRUE(reads.load() > 0 && whole(read_file(target)));
#ifdef _WIN32
    // Windows renames over a file that a reader holds open only with POSIX semantics (Windows 10 1809
    // and later, NTFS); elsewhere, Wine included, the writer falls back to removing and copying, so a
    // reader may miss the report or catch a copy half done. Counted, not failed.
    RecordProperty("bad", bad.load());
#else
    EXPECT_EQ(bad.load(), 0);
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

} // namespace
} // namespace korvath::test
