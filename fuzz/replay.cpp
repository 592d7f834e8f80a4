// Runs a fuzz target without a fuzzer: with the inputs in a folder, and with random ones that are the same in every
// run.
//   fuzz_TARGET FOLDER COUNT
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

// A failure ends the process; the last line then has the name of the input.
void Run(const std::string& name, const std::string& bytes) {
    (void)std::printf("%s\n", name.c_str());
    (void)std::fflush(stdout);
    (void)LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

std::string RandomBytes(unsigned long seed) {
    std::mt19937 random(static_cast<std::mt19937::result_type>(seed));
    std::string bytes(200 + random() % 4000, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(random());
    }
    return bytes;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        return 2;
    }
    for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
        std::ifstream file(entry.path(), std::ios::binary);
        Run(entry.path().filename().string(), {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()});
    }
    for (unsigned long seed = 0; seed < std::strtoul(argv[2], nullptr, 10); ++seed) {
        Run("seed " + std::to_string(seed), RandomBytes(seed));
    }
    return 0;
}
