// The lines of files from any bytes, in both pairs of rules, beside a slow reading; and the lines written again.
#include "FuzzFile.h"
#include "Quoll/File.h"
#include "support/ReferenceText.h"

#include <cstdint>

using namespace Quoll;
using namespace Quoll::Utilities;
using Quoll::Fuzz::Require;
using Lines = std::vector<WString>;

namespace
{

// As a stream gives them: what stands between separators, and behind the last one unless nothing does.
Lines Split(WStringView text, WChar separator)
{
    Lines pieces;
    while (!text.empty())
    {
        const std::size_t end = text.find(separator);
        pieces.emplace_back(text.substr(0, end));
        text.remove_prefix(end == WStringView::npos ? text.size() : end + 1);
    }
    return pieces;
}

Lines TextLines(std::string_view bytes)
{
    WString text;
    for (std::size_t i = 0; i < bytes.size() && bytes[i] != 0x1A; ++i)
    {
        if (!bytes.substr(i).starts_with("\r\n"))
        {
            text += static_cast<WChar>(static_cast<unsigned char>(bytes[i]));
        }
    }
    return Split(text, '\n');
}

Lines UnicodeLines(std::string_view bytes)
{
    const bool isLittle = bytes.starts_with("\xFF\xFE");
    bytes.remove_prefix(isLittle || bytes.starts_with("\xFE\xFF") ? 2 : 0);
    const WString text = Tests::ReferenceText(bytes, isLittle ? FileEncoding::Utf16Le : FileEncoding::Utf16Be);
    Lines lines;
    for (const WString& piece : Split(text.substr(0, text.find(WChar{0x1A})), '\n'))
    {
        const Lines parts = Split(piece, '\r');
        lines.insert(lines.end(), parts.begin(), parts.end());
    }
    return lines;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const Fuzz::FuzzFile file;
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    file.Put(bytes);
    const Lines lines = File::ReadAllLines(file.Path());
    Require(lines == TextLines(bytes));
    const Lines unicode = File::ReadAllUnicodeLines(file.Path());
    Require(unicode == UnicodeLines(bytes));

    File::WriteAllUnicodeLines(file.Path(), unicode);
    Lines again = File::ReadAllUnicodeLines(file.Path());
    Require(again == unicode);

    File::WriteAllLines(file.Path(), lines);
    again = File::ReadAllLines(file.Path());
    Require(again == lines);
    return 0;
}
