// Takes text apart into lines.
#pragma once

#include "Quoll/WideString.h"

#include <vector>

namespace Quoll::Utilities
{

/// What ends a line.
enum class LineRule
{
    Feeds,          ///< LF; a CR before it is no part of the line.
    FeedsAndReturns ///< LF and CR; an empty line that LF ends gives no line.
};

/// Appends to a list the lines of a text that comes in blocks. The unit 1A ends the text in either rule.
class LineCollector
{
public:
    LineCollector(std::vector<WString>& lines, LineRule rule) noexcept;

    /// False once the text has ended.
    bool Take(WStringView block);
    /// The last line needs no end; an empty one doesn't count then.
    void Finish();

private:
    void EndLine(WStringView part, WChar end);

    std::vector<WString>& m_lines;
    LineRule m_rule;
    WString m_begun; // of the line that goes on in the next block
};

} // namespace Quoll::Utilities
