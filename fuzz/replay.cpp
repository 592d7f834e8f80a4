// Runs a fuzz target over the files of a folder, without a fuzzer: the inputs that were kept, in the ordinary tests.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
    int inputs = 0;
    for (const auto& entry : std::filesystem::directory_iterator(argc == 2 ? argv[1] : ".")) {
        std::ifstream file(entry.path(), std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
        // A failure ends the process: this names the input then.
        (void)std::printf("%s\n", entry.path().filename().string().c_str());
        (void)std::fflush(stdout);
        (void)LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
        ++inputs;
    }
    return inputs != 0 ? 0 : 1;
}
