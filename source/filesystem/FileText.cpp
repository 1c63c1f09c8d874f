// The text of files, behind the mark of its encoding.
#include "filesystem/FileProbe.h"
#include "filesystem/TextReader.h"
#include "filesystem/TextSource.h"
#include "filesystem/TextWriter.h"

#include <algorithm>

namespace Quoll::Utilities
{

namespace
{

void Attach(TextReader& reader, FileEncoding encoding) noexcept
{
    switch (encoding)
    {
    case FileEncoding::Utf8NoBom:
        reader.SetForm(TextForm::Utf8);
        break;
    case FileEncoding::Utf8Bom:
        reader.SkipMark(UTF8_MARK);
        reader.SetForm(TextForm::Utf8);
        break;
    case FileEncoding::Utf16Le:
    case FileEncoding::Utf16Be:
        AttachUtf16(reader);
        break;
    }
}

// Each byte gives a unit at most, in UTF-16 two bytes do.
std::size_t MostUnits(const TextReader& reader, FileEncoding encoding) noexcept
{
    const bool isWide = encoding == FileEncoding::Utf16Le || encoding == FileEncoding::Utf16Be;
    const std::uint64_t most = WString().max_size();
    return static_cast<std::size_t>(std::min(reader.Size() / (isWide ? 2 : 1), most));
}

} // namespace

FileEncoding File::GetFileEncoding(const WString& path)
{
    TextReader reader = OpenText(path);
    const std::string_view begin = reader.Peek(UTF8_MARK.size());
    RequireRead(reader, path);
    for (const auto encoding : {FileEncoding::Utf16Le, FileEncoding::Utf16Be, FileEncoding::Utf8Bom})
    {
        if (begin.starts_with(MarkOf(encoding)))
        {
            return encoding;
        }
    }
    return FileEncoding::Utf8NoBom;
}

WString File::ReadAllText(const WString& path, FileEncoding& encoding)
{
    TextReader reader = OpenText(path);
    WString text;
    if (!reader.Peek(1).empty())
    {
        encoding = GetFileEncoding(path);
        Attach(reader, encoding);
        text.reserve(MostUnits(reader, encoding));
        for (WStringView units = reader.Next(); !units.empty(); units = reader.Next())
        {
            text.append(units);
        }
    }
    RequireRead(reader, path);
    return text;
}

void File::WriteAllText(const WString& path, const WString& text, FileEncoding encoding)
{
    TextWriter writer(path);
    if (!writer.IsOpen())
    {
        throw FileSystemException("Cannot open the file", path);
    }
    const TextForm form = FormOf(encoding);
    char first[LONGEST_SEQUENCE];
    if (ToBytes(form, WStringView(text).substr(0, 2), first, sizeof(first)).written == 0)
    {
        return; // the mark comes with the first character
    }
    writer.Write(MarkOf(encoding));
    writer.Write(text, form);
}

} // namespace Quoll::Utilities
