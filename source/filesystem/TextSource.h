// What all readings of text begin and end with.
#pragma once

#include "filesystem/TextReader.h"

namespace Quoll::Utilities
{

// Throws FileSystemException for what is missing, a folder, or can't be opened.
TextReader OpenText(const WString& path);

// Passes over a mark of UTF-16, which tells the order of the bytes; without one the high byte comes first.
void AttachUtf16(TextReader& reader) noexcept;

// Throws FileSystemException if reading has failed.
void RequireRead(const TextReader& reader, const WString& path);

} // namespace Quoll::Utilities
