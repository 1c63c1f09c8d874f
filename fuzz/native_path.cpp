// Every name that the host can hold survives the way to wide text and back, and no wide text
// reaches a file that another spelling names as well.
#include <platform/native_path.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

using namespace Quoll;

namespace
{

void Require(bool condition)
{
    if (!condition)
    {
        std::abort();
    }
}

void FromHost(std::string name)
{
    name = "/" + name.substr(0, name.find('\0'));
    std::filesystem::path back;
    Require(Platform::PathToNative(Platform::PathFromNative(name), back));
    Require(back.native() == name);
}

void FromText(WStringView text)
{
    std::filesystem::path native;
    if (Platform::PathToNative(text, native) && native.is_absolute())
    {
        FromHost(native.native().substr(1));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FromHost({reinterpret_cast<const char*>(data), size});
    WString text(size / sizeof(WChar), 0);
    if (!text.empty())
    {
        std::memcpy(text.data(), data, text.size() * sizeof(WChar));
    }
    FromText(text);
    return 0;
}
