// Whole files: text, lines, bytes and probes.
//
// Text of 64 MB of the host's page cache in each encoding, ASCII alone and mixed with characters of two to four
// bytes. "stream" is the standard wide stream with its converter, copied into a string stream or written with one
// call; "plain" is read or write of the whole file and our conversion from buffer to buffer, without the text itself.
// "memory" is the most that reading held beyond what was there before, in sizes of its result.
#include "Quoll/File.h"
#include "Quoll/NativePath.h"
#include "Ratios.h"
#include "filesystem/TextForm.h"
#include "support/TemporaryDirectory.h"

#include <benchmark/benchmark.h>

#include <codecvt>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <locale>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

using namespace Quoll;
using namespace Quoll::Utilities;

constexpr std::size_t TEXT_SIZE = std::size_t{64} << 20;
constexpr std::size_t BYTES_SIZE = std::size_t{256} << 20;
constexpr std::size_t LINE_COUNT = 1'000'000;
constexpr int FILE_COUNT = 10'000;

void Require(bool condition)
{
    if (!condition)
    {
        std::abort();
    }
}

void PlainRead(const std::string& path, char* buffer, std::size_t size)
{
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    std::size_t done = 0;
    while (done < size)
    {
        const ssize_t count = read(file, buffer + done, size - done);
        Require(count > 0);
        done += static_cast<std::size_t>(count);
    }
    close(file);
}

void PlainWrite(const std::string& path, const char* bytes, std::size_t size)
{
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    while (size != 0)
    {
        const ssize_t count = write(file, bytes, size);
        Require(count > 0);
        bytes += count;
        size -= static_cast<std::size_t>(count);
    }
    close(file);
}

WString MakeText(bool isMixed, std::size_t units)
{
    const std::u16string words[] = {u"file ",     u"scanned\n",     u"C:\\Windows\\System32\\ntdll.dll ",
                                    u"clean ",    u"the ",          u"Größe ",
                                    u"проверка ", u"検査しました ", u"\U0001F600 "};
    std::mt19937 random(3);
    WString text;
    text.reserve(units + 64);
    while (text.size() < units)
    {
        text += words[random() % (isMixed ? 9 : 5)];
    }
    return text;
}

struct Sample
{
    std::string name;
    std::string path;
    WString libraryPath;
    FileEncoding encoding = FileEncoding::Utf8NoBom;
    WString text;
    std::wstring wide;
    std::size_t size = 0;
};

std::wstring ToWide(const WString& text)
{
    std::wstring wide;
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        const bool isPair = (text[i] & 0xFC00) == 0xD800;
        wide += static_cast<wchar_t>(isPair ? 0x10000 + ((text[i] & 0x3FF) << 10) + (text[i + 1] & 0x3FF) : text[i]);
        i += isPair ? 1 : 0;
    }
    return wide;
}

// So many units that the file has the size that is asked for.
Sample MakeSample(const std::filesystem::path& folder, FileEncoding encoding, bool isMixed)
{
    const char* const names[] = {"utf8", "utf8-mark", "utf16le", "utf16be"};
    const bool isUtf8 = encoding <= FileEncoding::Utf8Bom;
    Sample sample;
    sample.name = std::string(names[static_cast<int>(encoding)]).append(isMixed ? "-mixed" : "-ascii");
    sample.path = (folder / sample.name).string();
    sample.libraryPath = NativePath::FromNative(sample.path);
    sample.encoding = encoding;
    sample.text = MakeText(isMixed, isUtf8 ? (isMixed ? TEXT_SIZE * 7 / 10 : TEXT_SIZE) : TEXT_SIZE / 2);
    sample.wide = ToWide(sample.text);
    File::WriteAllText(sample.libraryPath, sample.text, encoding);
    sample.size = File::GetSize(sample.libraryPath);
    return sample;
}

std::locale ReadingLocale(FileEncoding encoding)
{
    using Utf8 = std::codecvt_utf8<wchar_t>;
    using Utf8Mark = std::codecvt_utf8<wchar_t, 0x10FFFF, std::consume_header>;
    using Utf16 = std::codecvt_utf16<wchar_t, 0x10FFFF, std::consume_header>;
    const std::locale classic = std::locale::classic();
    return encoding == FileEncoding::Utf8NoBom ? std::locale(classic, new Utf8)
           : encoding == FileEncoding::Utf8Bom ? std::locale(classic, new Utf8Mark)
                                               : std::locale(classic, new Utf16);
}

std::locale WritingLocale(FileEncoding encoding)
{
    constexpr auto LITTLE = static_cast<std::codecvt_mode>(std::generate_header | std::little_endian);
    using Utf8 = std::codecvt_utf8<wchar_t>;
    using Utf8Mark = std::codecvt_utf8<wchar_t, 0x10FFFF, std::generate_header>;
    using Utf16Little = std::codecvt_utf16<wchar_t, 0x10FFFF, LITTLE>;
    using Utf16Big = std::codecvt_utf16<wchar_t, 0x10FFFF, std::generate_header>;
    const std::locale classic = std::locale::classic();
    return encoding == FileEncoding::Utf8NoBom ? std::locale(classic, new Utf8)
           : encoding == FileEncoding::Utf8Bom ? std::locale(classic, new Utf8Mark)
           : encoding == FileEncoding::Utf16Le ? std::locale(classic, new Utf16Little)
                                               : std::locale(classic, new Utf16Big);
}

std::size_t MemoryNow(const std::string& field)
{
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line) && !line.starts_with(field))
    {
    }
    return std::strtoull(line.c_str() + field.size(), nullptr, 10) * 1024;
}

// The most memory that the action holds beyond what there is before, in sizes of its result.
double MemoryOf(const std::function<std::size_t()>& action)
{
    std::ofstream("/proc/self/clear_refs") << "5"; // forget the highest use
    const std::size_t before = MemoryNow("VmRSS:");
    const std::size_t size = action();
    return static_cast<double>(MemoryNow("VmHWM:") - before) / static_cast<double>(size);
}

void Register(const std::string& name, std::size_t size, const std::function<void()>& action,
              const std::function<std::size_t()>& memory = {})
{
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
        for ([[maybe_unused]] auto _ : state)
        {
            action();
        }
        state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(size));
        if (memory)
        {
            state.counters["memory"] = MemoryOf(memory);
        }
    })->Unit(benchmark::kMillisecond);
}

void RegisterReading(const Sample& sample)
{
    const auto read = [&sample] {
        FileEncoding encoding = FileEncoding::Utf8NoBom;
        return File::ReadAllText(sample.libraryPath, encoding);
    };
    Require(read() == sample.text);
    const std::string name = "read-" + sample.name;
    Register(
        name + "/quoll", sample.size, [=] { benchmark::DoNotOptimize(read().data()); },
        [=] { return read().size() * sizeof(WChar); });
    const auto plain = [&sample] {
        const auto bytes = std::make_unique_for_overwrite<char[]>(sample.size);
        PlainRead(sample.path, bytes.get(), sample.size);
        const std::size_t mark = MarkOf(sample.encoding).size();
        const auto units = std::make_unique_for_overwrite<WChar[]>(sample.text.size());
        const auto progress =
            ToUnits(FormOf(sample.encoding), {bytes.get() + mark, sample.size - mark}, units.get(), sample.text.size());
        Require(progress.written == sample.text.size());
    };
    Register(name + "/plain", sample.size, plain);
    // The stream's converter stops at a pair of surrogates across two of its blocks.
    if (FormOf(sample.encoding) != TextForm::Utf8 && sample.wide.size() != sample.text.size())
    {
        return;
    }
    const auto stream = [&sample] {
        std::wifstream file;
        file.imbue(ReadingLocale(sample.encoding));
        file.open(sample.path, std::ios::binary);
        std::wostringstream text;
        text << file.rdbuf();
        Require(text.str().size() == sample.wide.size());
    };
    Register(name + "/stream", sample.size, stream);
}

void RegisterWriting(const Sample& sample)
{
    const std::string name = "write-" + sample.name;
    const std::string target = sample.path + "-written"; // reading goes on beside it
    const WString libraryTarget = NativePath::FromNative(target);
    Register(name + "/quoll", sample.size,
             [=, &sample] { File::WriteAllText(libraryTarget, sample.text, sample.encoding); });
    const auto plain = [=, &sample] {
        const auto bytes = std::make_unique_for_overwrite<char[]>(sample.size);
        const auto progress = ToBytes(FormOf(sample.encoding), sample.text, bytes.get(), sample.size);
        PlainWrite(target, bytes.get(), progress.written);
    };
    Register(name + "/plain", sample.size, plain);
    // What no way of converting can go below.
    const auto bytes = std::make_shared<std::vector<std::uint8_t>>(File::ReadAllBytes(sample.libraryPath));
    Register(name + "/kernel", sample.size,
             [=] { PlainWrite(target, reinterpret_cast<const char*>(bytes->data()), bytes->size()); });
    const auto stream = [=, &sample] {
        std::wofstream file;
        file.imbue(WritingLocale(sample.encoding));
        file.open(target, std::ios::binary | std::ios::trunc);
        file.write(sample.wide.data(), static_cast<std::streamsize>(sample.wide.size()));
        file.close();
        Require(file.good());
    };
    Register(name + "/stream", sample.size, stream);
}

void RegisterLines(const std::filesystem::path& folder)
{
    const std::string path = (folder / "lines").string();
    std::string lines;
    for (std::size_t i = 0; i < LINE_COUNT; ++i)
    {
        lines += "2021-03-04 05:06:07 scanned C:\\Windows\\System32\\driver" + std::to_string(i) + ".sys: clean\r\n";
    }
    PlainWrite(path, lines.data(), lines.size());
    const WString libraryPath = NativePath::FromNative(path);
    const auto read = [=] {
        std::vector<WString> all = File::ReadAllLines(libraryPath);
        Require(all.size() == LINE_COUNT);
        return all;
    };
    const auto sizeOf = [](const std::vector<WString>& all) {
        std::size_t size = all.size() * sizeof(WString);
        for (const WString& line : all)
        {
            size += line.size() * sizeof(WChar);
        }
        return size;
    };
    Register("lines/quoll", lines.size(), [=] { read(); }, [=] { return sizeOf(read()); });
    const auto stream = [=] {
        std::wifstream file(path);
        std::vector<std::wstring> all;
        for (std::wstring line; std::getline(file, line);)
        {
            all.push_back(line);
        }
        Require(all.size() == LINE_COUNT);
    };
    Register("lines/stream", lines.size(), stream);
    const auto all = std::make_shared<std::vector<WString>>(read());
    Register("lines/strings", lines.size(), [=] { benchmark::DoNotOptimize(std::vector<WString>(*all).data()); });

    const std::string target = path + "-written";
    const WString libraryTarget = NativePath::FromNative(target);
    Register("write-lines/quoll", lines.size(), [=] { File::WriteAllLines(libraryTarget, *all); });
    const auto wide = std::make_shared<std::vector<std::wstring>>();
    for (const WString& line : *all)
    {
        wide->emplace_back(line.begin(), line.end());
    }
    const auto flush = [=] {
        std::wofstream file(target);
        for (const std::wstring& line : *wide)
        {
            file << line << std::endl; // NOLINT(performance-avoid-endl): what the operation is said to do
        }
    };
    Register("write-lines/stream", lines.size(), flush);
    const auto kernel = [=] {
        const int file = open(target.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
        std::string_view rest(lines);
        for (std::size_t end = rest.find('\n'); end != std::string_view::npos; end = rest.find('\n'))
        {
            Require(write(file, rest.data(), end + 1) == static_cast<ssize_t>(end + 1));
            rest.remove_prefix(end + 1);
        }
        close(file);
    };
    Register("write-lines/kernel", lines.size(), kernel);
}

void RegisterBytes(const std::filesystem::path& folder)
{
    const std::string path = (folder / "bytes").string();
    const auto content = std::make_shared<std::vector<std::uint8_t>>(BYTES_SIZE, std::uint8_t{7});
    const WString libraryPath = NativePath::FromNative(path);
    File::WriteAllBytes(libraryPath, *content);
    const auto read = [=] {
        const auto bytes = File::ReadAllBytes(libraryPath);
        Require(bytes.size() == BYTES_SIZE);
        return bytes.size();
    };
    Register("bytes/quoll", BYTES_SIZE, [=] { read(); }, read);
    const auto plain = [=] {
        std::vector<std::uint8_t> bytes(BYTES_SIZE);
        PlainRead(path, reinterpret_cast<char*>(bytes.data()), BYTES_SIZE);
    };
    Register("bytes/plain", BYTES_SIZE, plain);
    const auto unfilled = [=] {
        const auto bytes = std::make_unique_for_overwrite<char[]>(BYTES_SIZE);
        PlainRead(path, bytes.get(), BYTES_SIZE);
    };
    Register("bytes/plain-not-cleared", BYTES_SIZE, unfilled);
}

void RegisterProbes(const std::filesystem::path& folder)
{
    std::filesystem::create_directory(folder / "many");
    const auto paths = std::make_shared<std::vector<std::string>>();
    const auto libraryPaths = std::make_shared<std::vector<WString>>();
    for (int i = 0; i < FILE_COUNT; ++i)
    {
        paths->push_back((folder / "many" / ("file" + std::to_string(i) + ".txt")).string());
        libraryPaths->push_back(NativePath::FromNative(paths->back()));
        PlainWrite(paths->back(), "content", 7);
    }
    const auto probe = [=] {
        struct stat facts = {};
        for (const std::string& path : *paths)
        {
            Require(stat(path.c_str(), &facts) == 0 && facts.st_size == 7);
        }
    };
    Register("exists/stat", 0, probe);
    Register("exists/quoll", 0, [=] {
        for (const WString& path : *libraryPaths)
        {
            Require(File::Exists(path));
        }
    });
    Register("size/stat", 0, probe);
    Register("size/quoll", 0, [=] {
        for (const WString& path : *libraryPaths)
        {
            Require(File::GetSize(path) == 7);
        }
    });
}

} // namespace

int main(int argc, char** argv)
{
    const Tests::TemporaryDirectory folder;
    std::vector<Sample> samples;
    for (const bool isMixed : {false, true})
    {
        for (int encoding = 0; encoding < 4; ++encoding)
        {
            samples.push_back(MakeSample(folder.Path(), static_cast<FileEncoding>(encoding), isMixed));
        }
    }
    for (const Sample& sample : samples)
    {
        RegisterReading(sample);
        RegisterWriting(sample);
    }
    RegisterLines(folder.Path());
    RegisterBytes(folder.Path());
    RegisterProbes(folder.Path());
    return Benchmarks::RunAndCompare(argc, argv);
}
