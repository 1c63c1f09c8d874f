#include "filesystem/TextSource.h"

#include "filesystem/FileProbe.h"

namespace Quoll::Utilities
{

namespace
{

constexpr const char* NOT_OPEN = "Cannot open the file";

} // namespace

TextReader OpenText(const WString& path)
{
    RequireFile(path);
    TextReader reader(path);
    if (!reader.IsOpen())
    {
        throw FileSystemException(NOT_OPEN, path);
    }
    return reader;
}

void AttachUtf16(TextReader& reader) noexcept
{
    const bool isLittle = reader.SkipMark(UTF16_LITTLE_MARK) || (reader.SkipMark(UTF16_BIG_MARK), false);
    reader.SetForm(isLittle ? TextForm::Utf16Little : TextForm::Utf16Big);
}

void RequireRead(const TextReader& reader, const WString& path)
{
    if (reader.Failure() != ERROR_SUCCESS)
    {
        throw FileSystemException(NOT_OPEN, path, reader.Failure());
    }
}

} // namespace Quoll::Utilities
