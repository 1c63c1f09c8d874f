// Stands in for the fuzzing engine: runs the target once on each file named, or found below a
// folder named, on the command line.
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace
{

void Replay(const std::filesystem::path& path)
{
    if (std::filesystem::is_directory(path))
    {
        for (const auto& entry : std::filesystem::directory_iterator(path))
        {
            Replay(entry.path());
        }
        return;
    }
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    std::cout << "replayed " << path.generic_string() << std::endl;
}

} // namespace

int main(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i)
    {
        Replay(argv[i]);
    }
    return argc > 1 ? 0 : 2;
}
