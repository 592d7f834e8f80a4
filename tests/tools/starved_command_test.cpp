// The command without memory and without room for its output: it says so, has the status for that, and leaves no file
// unfinished. In each run one request for memory fails: some of them in turn, spread over all; every one with
// ZEL_FAIL_EVERY_REQUEST in the environment, which takes minutes.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <set>
#include <string>
#include <utility>

#include "crush32/crush32.h"
#include "runtime/allocator.h"
#include "runtime/heap.h"
#include "tests/support/failing_heap.h"
#include "tests/support/work_folder.h"
#include "tests/tools/run_command.h"
#include "tools/io/out_of_memory.h"
#include "tools/io/status.h"

void* operator new(std::size_t size) {
    void* block = zel::Allocate(size);
    return block != nullptr ? block : throw std::bad_alloc();
}
void operator delete(void* block) noexcept {
    zel::HeapRelease(block);
}
void operator delete(void* block, std::size_t /*size*/) noexcept {
    zel::HeapRelease(block);
}

namespace {
int failInFirstPass = 0;  // the request for memory that fails, counted from the first compression pass on; 0: none
}  // namespace

extern "C" short __real_CrushBegin() noexcept;
extern "C" short __wrap_CrushBegin() noexcept {
    if (failInFirstPass != 0) {
        zel::test::FailAllocationsFrom(std::exchange(failInFirstPass, 0), 1);
    }
    return __real_CrushBegin();
}

namespace zel::tools {
namespace {

// How many runs for each verb. Under the sanitizers, which look for other faults, one takes seven times as long.
#ifdef __SANITIZE_ADDRESS__
constexpr int kRuns = 15;
#else
constexpr int kRuns = 60;
#endif

struct Verb {
    std::string arguments;
    bool writesFiles = false;  // also when they go again
};

const Verb kVerbs[] = {
    {"encode orders.jsonl"},
    {"encode --hex -d sample.json orders.jsonl", true},
    {"decode orders.zel"},
    {"decode --json -d sample.json orders.zel", true},
    {"decode --json damaged.zel"},
    {"decode --summary orders.zel"},
    {"decode --hex --streams FILTER_STREAM,SORT_STREAM orders.txt"},
    {"decode --raw orders.zel"},
    {"decode --annotate damaged.zel"},
    {"dict build small.json -o old.img", true},
    {"dict check small.json"},
    {"dict show small.json"},
    {"dict show small.img --json"},
    {"dict show sample.json 10/2"},
    {"dict diff small.img newer.json"},
    {"dict diff --json small.json newer.json"},
    {"dict header small.json -o old.img", true},
    {"dict wireshark small.json -o old.img", true},
    {"value money 101'16"},
    {"explain --markdown"},
    {"diff --json orders.zel damaged.zel"},
    {"pages manual bash zsh fish", true},
    {"--version"},
    {"--help"},
};

class StarvedCommand : public testing::Test {
protected:
    void SetUp() override {
        test::WriteFile("old.img", "old");
        EXPECT_EQ(Run("encode orders.jsonl", NoHarm, "orders.zel"), kStatusGood) << Said();
        EXPECT_EQ(Run("encode --hex orders.jsonl", NoHarm, "orders.txt"), kStatusGood);
        EXPECT_EQ(Run("dict build small.json -o small.img"), kStatusGood);
        std::string damaged = test::ReadFile("orders.zel");
        damaged.at(247 + 4 + 1) = 9;
        test::WriteFile("damaged.zel", damaged);
        whole_ = FilesHere();
    }

    static void NoHarm() {}

    // The status of the command, run in a child of its own, which first does `harm`; -1 when a signal ended it.
    template <typename Harm = void()>
    int Run(const std::string& arguments, const Harm& harm = NoHarm, const char* output = "/dev/null") {
        const CommandLine line(arguments);
        const pid_t child = fork();
        if (child == 0) {
            // Temporary images go where they are seen.
            (void)setenv("TMPDIR", folder_.path().c_str(), 1);
            (void)dup2(open(output, O_WRONLY | O_CREAT | O_TRUNC, 0600), STDOUT_FILENO);
            (void)dup2(open(said_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
            EndWhenMemoryIsOut();
            test::FailAllocationsFrom(0);
            harm();
            const int status = line.Run();
            *requests_ = test::AllocationCount();
            _exit(status);
        }
        int state = 0;
        EXPECT_EQ(waitpid(child, &state, 0), child);
        return WIFEXITED(state) ? WEXITSTATUS(state) : -1;
    }
    std::string Said() const { return test::ReadFile(said_); }

    // Names and bytes.
    using FileSet = std::set<std::pair<std::string, std::string>>;
    static FileSet FilesHere() {
        FileSet files;
        for (const auto& entry : std::filesystem::directory_iterator(".")) {
            files.emplace(entry.path().filename().string(), test::ReadFile(entry.path()));
        }
        return files;
    }

    // Files stand there whole, or as before.
    template <typename Harm>
    void ExpectUnable(const std::string& arguments, const std::string& text, const Harm& harm,
                      const char* output = "/dev/null") {
        EXPECT_EQ(Run(arguments, harm, output), kStatusUnable) << arguments << ": " << Said();
        EXPECT_NE(Said().find(text), std::string::npos) << arguments << ": " << Said();
        for (const auto& file : FilesHere()) {
            EXPECT_TRUE(whole_.contains(file)) << arguments << ": " << text << ", " << file.first << " is unfinished";
        }
    }

    // What a child says stands outside the folder whose files are compared, and what it counts in memory of both.
    test::WorkFolder outside_;
    std::filesystem::path said_ = outside_.path() / "said";
    int* requests_ =
        static_cast<int*>(mmap(nullptr, sizeof(int), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    test::WorkFolder folder_{"examples/orders.jsonl", "zeldata/sample.json", "tests/tools/cases/small.json",
                             "tests/tools/cases/newer.json"};
    FileSet whole_;
};

TEST_F(StarvedCommand, SaysWhatItLacks) {
    int first = 0;
    for (const auto& [arguments, writesFiles] : kVerbs) {
        const int status = Run(arguments);
        EXPECT_TRUE(status == kStatusGood || status == kStatusDiffers) << arguments << ": " << Said();
        whole_.merge(FilesHere());
        const int requests = *requests_;
        EXPECT_GT(requests, 100) << arguments;
        const int step = std::getenv("ZEL_FAIL_EVERY_REQUEST") != nullptr ? 1 : requests / kRuns + 1;
        for (int n = 1 + first++ % step; n <= requests; n += step) {
            ExpectUnable(arguments, "zel: out of memory\n", [n] { test::FailAllocationsFrom(n, 1); });
        }
        if (writesFiles) {
            ExpectUnable(arguments, ": File too large", [] {
                const rlimit limit{1000, 1000};
                (void)setrlimit(RLIMIT_FSIZE, &limit);
                (void)std::signal(SIGXFSZ, SIG_IGN);
            });
        }
        if (!arguments.starts_with("pages")) {
            ExpectUnable(arguments, "zel: cannot write to standard output", NoHarm, "/dev/full");
        }
    }
    for (int n = 1; n <= 7; ++n) {
        ExpectUnable("encode orders.jsonl", "zel: out of memory\n", [n] { failInFirstPass = n; });
        ExpectUnable("decode orders.zel", "zel: out of memory\n", [n] { failInFirstPass = n; });
    }
}

}  // namespace
}  // namespace zel::tools
