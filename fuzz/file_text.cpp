// The encoding and the text of files from any bytes, beside a slow reading; and the text written again.
//
// The first byte of the input says how often the second one is put before the rest, so that the rest reaches across
// the border of blocks.
#include "FuzzFile.h"
#include "Quoll/File.h"
#include "support/ReferenceText.h"

#include <cstdint>

using namespace Quoll;
using namespace Quoll::Utilities;
using Quoll::Fuzz::Require;

namespace
{

FileEncoding EncodingOf(std::string_view bytes)
{
    for (const auto encoding : {FileEncoding::Utf8Bom, FileEncoding::Utf16Le, FileEncoding::Utf16Be})
    {
        if (bytes.starts_with(Tests::ReferenceMark(encoding)))
        {
            return encoding;
        }
    }
    return FileEncoding::Utf8NoBom;
}

void Check(const Fuzz::FuzzFile& file, const std::string& bytes)
{
    constexpr auto UNTOUCHED = static_cast<FileEncoding>(9);
    file.Put(bytes);
    const FileEncoding encoding = EncodingOf(bytes);
    Require(File::GetFileEncoding(file.Path()) == encoding);
    FileEncoding told = UNTOUCHED;
    const WString text = File::ReadAllText(file.Path(), told);
    Require(told == (bytes.empty() ? UNTOUCHED : encoding));
    const std::string_view behindMark = std::string_view(bytes).substr(Tests::ReferenceMark(encoding).size());
    Require(text == Tests::ReferenceText(behindMark, encoding));

    File::WriteAllText(file.Path(), text, encoding);
    const std::string written = file.Take();
    Require(bytes.starts_with(written) && (written.empty() == text.empty()));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const Fuzz::FuzzFile file;
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    Check(file, bytes);
    if (size > 2 && data[0] >= 0xF0)
    {
        const std::string mark = Tests::ReferenceMark(static_cast<FileEncoding>(data[0] % 4));
        Check(file, mark + std::string(65536 - mark.size() - data[0] % 16, bytes[1]) + bytes.substr(2));
    }
    return 0;
}
