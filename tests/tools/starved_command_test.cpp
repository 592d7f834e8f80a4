// The command without memory and without room for its output: it says so, has the status for that, and leaves no file
// unfinished. About fifty requests for memory are failed in each run, spread over all of them; every one with
// ZEL_FAIL_EVERY_REQUEST in the environment, which takes minutes.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <new>
#include <string>
#include <vector>

#include "runtime/heap.h"
#include "tests/support/failing_heap.h"
#include "tests/support/work_folder.h"
#include "tests/tools/run_command.h"
#include "tools/out_of_memory.h"
#include "tools/status.h"

void* operator new(std::size_t size) {
    for (;;) {
        if (void* block = zel::HeapAllocate(std::max<std::size_t>(size, 1))) {
            return block;
        }
        const std::new_handler handler = std::get_new_handler();
        if (handler == nullptr) {
            throw std::bad_alloc();
        }
        handler();
    }
}
void operator delete(void* block) noexcept {
    zel::HeapRelease(block);
}
void operator delete(void* block, std::size_t /*size*/) noexcept {
    zel::HeapRelease(block);
}

namespace zel::tools {
namespace {

namespace fs = std::filesystem;

using test::ReadFile;
using test::WriteFile;

struct Verb {
    std::string arguments;
    bool writesFiles = false;
};

const Verb kVerbs[] = {
    {"encode orders.jsonl"},
    {"encode --hex -d sample.json orders.jsonl"},
    {"decode orders.zel"},
    {"decode --json -d sample.json orders.zel"},
    {"decode --json damaged.zel"},
    {"decode --summary orders.zel"},
    {"decode --hex --streams FILTER_STREAM,SORT_STREAM orders.txt"},
    {"decode --raw orders.zel"},
    {"dict build small.json -o old.img", true},
    {"dict check small.json"},
    {"dict show small.json"},
    {"dict show small.img --json"},
    {"dict show sample.json 10/2"},
    {"dict diff small.img newer.json"},
    {"dict diff --json small.json newer.json"},
    {"dict wireshark small.json -o old.img", true},
    {"value money 101'16"},
    {"value date 11/30/99"},
    {"value time 09:05:07"},
    {"value datetime \"99/11/30 09:05:07\""},
    {"value fraction 12.125"},
    {"pages manual completion", true},
    {"--version"},
    {"--help"},
};

using FileMap = std::map<std::string, std::string>;

struct StarvedOutcome {
    int status;  // -1: ended by a signal
    int requests;
    std::string err;
};

class StarvedCommand : public testing::Test {
protected:
    void SetUp() override {
        WriteFile("old.img", "old");
        const StarvedOutcome first = Run({"encode orders.jsonl"}, "orders.zel", [] {});
        ASSERT_EQ(first.status, 0) << first.err;
        EXPECT_EQ(Run({"encode --hex orders.jsonl"}, "orders.txt", [] {}).status, 0);
        EXPECT_EQ(Run({"dict build small.json -o small.img"}, "/dev/null", [] {}).status, 0);
        std::string damaged = ReadFile("orders.zel");
        damaged[247 + 4 + 1] = 9;
        WriteFile("damaged.zel", damaged);
    }

    // Runs the verb in a child of its own, which first does `harm`.
    template <typename Harm>
    StarvedOutcome Run(const Verb& verb, const char* output, Harm harm) {
        const CommandLine line(verb.arguments);
        (void)std::fflush(nullptr);
        const pid_t child = fork();
        if (child == 0) {
            // Temporary images go where they are seen.
            (void)setenv("TMPDIR", folder_.path().c_str(), 1);
            (void)dup2(open(output, O_WRONLY | O_CREAT | O_TRUNC, 0600), STDOUT_FILENO);
            (void)dup2(open(said_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
            EndWhenMemoryIsOut();
            harm();
            const int status = line.Run();
            const int requests = test::AllocationCount();
            test::FailAllocationsFrom(0);
            WriteFile(counted_, std::to_string(requests));
            _exit(status);
        }
        int state = 0;
        EXPECT_EQ(waitpid(child, &state, 0), child);
        int requests = 0;
        std::ifstream(counted_) >> requests;
        return {WIFEXITED(state) ? WEXITSTATUS(state) : -1, requests, ReadFile(said_)};
    }

    static FileMap Files() {
        FileMap files;
        for (const fs::directory_entry& entry : fs::directory_iterator(".")) {
            files[entry.path().filename().string()] = ReadFile(entry.path());
        }
        return files;
    }
    static void Restore(const FileMap& before) {
        for (const auto& [name, bytes] : Files()) {
            fs::remove(name);
        }
        for (const auto& [name, bytes] : before) {
            WriteFile(name, bytes);
        }
    }

    // What the child says stands outside the folder whose files are compared.
    test::WorkFolder outside_;
    fs::path said_ = outside_.path() / "said";
    fs::path counted_ = outside_.path() / "counted";
    test::WorkFolder folder_{"examples/orders.jsonl", "zeldata/sample.json", "tests/tools/cases/small.json",
                             "tests/tools/cases/newer.json"};
};

TEST_F(StarvedCommand, SaysThatMemoryIsOut) {
    const FileMap before = Files();
    int first = 0;
    for (const Verb& verb : kVerbs) {
        const StarvedOutcome good = Run(verb, "/dev/null", [] { test::FailAllocationsFrom(0); });
        EXPECT_TRUE(good.status == 0 || good.status == 1) << verb.arguments << ": " << good.err;
        EXPECT_GT(good.requests, 100) << verb.arguments;
        const FileMap after = Files();
        EXPECT_EQ(after != before, verb.writesFiles) << verb.arguments;
        Restore(before);
        const int step = std::getenv("ZEL_FAIL_EVERY_REQUEST") != nullptr ? 1 : good.requests / 50 + 1;
        for (int n = 1 + first++ % step; n <= good.requests; n += step) {
            const StarvedOutcome outcome = Run(verb, "/dev/null", [n] { test::FailAllocationsFrom(n, 1); });
            ASSERT_EQ(outcome.status, kStatusUnable) << verb.arguments << " at " << n << ": " << outcome.err;
            ASSERT_TRUE(outcome.err.ends_with("zel: out of memory\n")) << verb.arguments << " at " << n << outcome.err;
            // Files that are written stand there whole, or as before.
            for (const auto& [name, bytes] : Files()) {
                const auto old = before.find(name);
                const auto made = after.find(name);
                ASSERT_TRUE((old != before.end() && bytes == old->second) ||
                            (made != after.end() && bytes == made->second))
                    << verb.arguments << " at " << n << " left " << name;
            }
            Restore(before);
        }
    }
}

TEST_F(StarvedCommand, SaysThatItsOutputCannotBeWritten) {
    for (const Verb& verb : kVerbs) {
        const bool writes = Run(verb, "output", [] {}).status >= 0 && !ReadFile("output").empty();
        EXPECT_EQ(writes, !verb.arguments.starts_with("pages")) << verb.arguments;
        const StarvedOutcome outcome = Run(verb, "/dev/full", [] {});
        EXPECT_EQ(outcome.status, writes ? kStatusUnable : kStatusGood) << verb.arguments;
        EXPECT_EQ(outcome.err.find("zel: cannot write to standard output") != std::string::npos, writes)
            << verb.arguments << ": " << outcome.err;
    }
}

TEST_F(StarvedCommand, LeavesNoPartOfAFileBehind) {
    const FileMap before = Files();
    int refused = 0;
    for (const Verb& verb : kVerbs) {
        const bool writesImage = verb.arguments.find(" -d ") != std::string::npos;
        if (!verb.writesFiles && !writesImage) {
            continue;
        }
        const StarvedOutcome outcome = Run(verb, "/dev/null", [] {
            const rlimit limit{1000, 1000};
            (void)setrlimit(RLIMIT_FSIZE, &limit);
            (void)std::signal(SIGXFSZ, SIG_IGN);
        });
        EXPECT_EQ(outcome.status, kStatusUnable) << verb.arguments;
        EXPECT_TRUE(outcome.err.starts_with("zel: cannot write ")) << verb.arguments << ": " << outcome.err;
        EXPECT_TRUE(outcome.err.ends_with(": File too large\n")) << verb.arguments << ": " << outcome.err;
        EXPECT_EQ(Files(), before) << verb.arguments;
        ++refused;
    }
    EXPECT_EQ(refused, 5);
}

}  // namespace
}  // namespace zel::tools
