// Translates ECMAScript patterns. A piece of pattern becomes a piece of code; repeats with counts
// become copies of it.
#include "core/regex/Program.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <regex>
#include <utility>

namespace Quoll::Utilities::Regex
{

namespace
{

namespace Error = std::regex_constants;

[[noreturn]] void Fail(Error::error_type error)
{
    throw std::regex_error(error);
}

std::int32_t Offset(std::size_t distance)
{
    return static_cast<std::int32_t>(distance);
}

void Append(Code& code, const Code& more)
{
    if (code.size() + more.size() > MaxInstructions)
    {
        Fail(Error::error_space);
    }
    code.insert(code.end(), more.begin(), more.end());
}

// The ranges that \d, \s and \w, or [:name:], stand for; none if there is no such class.
std::vector<UnitRange> NamedClass(WStringView name)
{
    const auto is = [name](WideLiteral letter, WideLiteral word) {
        return name == letter || name == word;
    };
    if (is("d"_w, "digit"_w))
    {
        return {std::begin(DigitRanges), std::end(DigitRanges)};
    }
    if (is("s"_w, "space"_w))
    {
        return {std::begin(SpaceRanges), std::end(SpaceRanges)};
    }
    if (name == "w"_w)
    {
        return {{'0', '9'}, {'A', 'Z'}, {'_', '_'}, {'a', 'z'}};
    }
    const std::pair<WideLiteral, std::vector<UnitRange>> classes[] = {
        {"alpha"_w, {{'A', 'Z'}, {'a', 'z'}}},
        {"alnum"_w, {{'0', '9'}, {'A', 'Z'}, {'a', 'z'}}},
        {"upper"_w, {{'A', 'Z'}}},
        {"lower"_w, {{'a', 'z'}}},
        {"blank"_w, {{'\t', '\t'}, {' ', ' '}}},
        {"cntrl"_w, {{0, 0x1F}, {0x7F, 0x7F}}},
        {"graph"_w, {{0x21, 0x7E}}},
        {"print"_w, {{0x20, 0x7E}}},
        {"punct"_w, {{0x21, 0x2F}, {0x3A, 0x40}, {0x5B, 0x60}, {0x7B, 0x7E}}},
        {"xdigit"_w, {std::begin(HexDigitRanges), std::end(HexDigitRanges)}},
    };
    for (const auto& [known, ranges] : classes)
    {
        if (name == known)
        {
            return ranges;
        }
    }
    return {};
}

class Compiler
{
public:
    explicit Compiler(WStringView pattern) noexcept
        : m_rest(pattern)
    {
    }

    Program Run()
    {
        Code body = Alternatives(0);
        if (!m_rest.empty())
        {
            Fail(Error::error_paren); // only a closing parenthesis stops it early
        }
        Code code = Saved(body, 0);
        code.push_back({Operation::Match});
        m_program.code = std::move(code);
        m_program.slots = 2 * m_program.groups + m_loops;
        NumberLoops();
        return std::move(m_program);
    }

private:
    static constexpr unsigned Infinite = std::numeric_limits<unsigned>::max();

    struct Repeat
    {
        unsigned least;
        unsigned most;
        bool greedy;
    };

    bool Take(WideLiteral text) noexcept
    {
        const bool there = m_rest.starts_with(text);
        m_rest.remove_prefix(there ? text.size() : 0);
        return there;
    }

    WChar Next(Error::error_type errorAtEnd)
    {
        if (m_rest.empty())
        {
            Fail(errorAtEnd);
        }
        const WChar unit = m_rest[0];
        m_rest.remove_prefix(1);
        return unit;
    }

    static Code Saved(const Code& body, std::uint32_t group)
    {
        Code code{{Operation::Save, 2 * group}};
        Append(code, body);
        code.push_back({Operation::Save, 2 * group + 1});
        return code;
    }

    Code Alternatives(int depth)
    {
        if (depth > MaxNesting)
        {
            Fail(Error::error_stack);
        }
        // From the last: split(own, rest), own, jump behind, rest. The whole is put together once.
        std::vector<Code> choices;
        std::size_t total = 0;
        do
        {
            choices.push_back(Sequence(depth));
            total += choices.back().size() + 2;
            if (total - 2 > MaxInstructions)
            {
                Fail(Error::error_space);
            }
        } while (Take("|"_w));
        total -= 2;
        Code code;
        for (std::size_t i = 0; i < choices.size(); ++i)
        {
            const bool last = i + 1 == choices.size();
            if (!last)
            {
                code.push_back({Operation::Split, 0, 1, Offset(choices[i].size() + 2)});
            }
            Append(code, choices[i]);
            if (!last)
            {
                code.push_back({Operation::Jump, 0, Offset(total - code.size())});
            }
        }
        return code;
    }

    Code Sequence(int depth)
    {
        Code code;
        while (!m_rest.empty() && m_rest[0] != '|' && m_rest[0] != ')')
        {
            Code term;
            if (!Assertion(term, depth))
            {
                term = Atom(depth);
                Repeat repeat{1, 1, true};
                if (Quantifier(repeat))
                {
                    term = Repeated(term, repeat);
                }
            }
            Append(code, term);
        }
        return code;
    }

    bool Assertion(Code& code, int depth)
    {
        if (Take("^"_w))
        {
            code = {{Operation::Begin}};
        }
        else if (Take("$"_w))
        {
            code = {{Operation::End}};
        }
        else if (Take("\\b"_w))
        {
            code = {{Operation::WordBorder, 1}};
        }
        else if (Take("\\B"_w))
        {
            code = {{Operation::WordBorder, 0}};
        }
        else if (const bool wanted = Take("(?="_w); wanted || Take("(?!"_w))
        {
            code = LookAhead(wanted, depth);
        }
        else
        {
            return false;
        }
        return true;
    }

    Code LookAhead(bool wanted, int depth)
    {
        const Code body = Group(depth);
        Code code{{Operation::LookAhead, wanted ? 1u : 0u, Offset(body.size() + 2)}};
        Append(code, body);
        code.push_back({Operation::Match});
        m_program.regular = false;
        return code;
    }

    Code Group(int depth)
    {
        Code body = Alternatives(depth + 1);
        if (!Take(")"_w))
        {
            Fail(Error::error_paren);
        }
        return body;
    }

    Code Atom(int depth)
    {
        if (Take("(?:"_w))
        {
            return Group(depth);
        }
        const WChar unit = Next(Error::error_paren);
        switch (unit)
        {
        case '(':
            return Capture(depth);
        case '.':
            return {{Operation::Any}};
        case '[':
            return Bracket();
        case '\\':
            return Escape();
        case '*':
        case '+':
        case '?':
        case '{':
            Fail(Error::error_badrepeat);
        default:
            return {{Operation::Unit, unit}};
        }
    }

    Code Capture(int depth)
    {
        if (m_rest.starts_with("?"_w))
        {
            Fail(Error::error_paren);
        }
        if (m_program.groups == MaxGroups)
        {
            Fail(Error::error_space);
        }
        const std::uint32_t group = m_program.groups++;
        m_open.push_back(group);
        const Code body = Group(depth);
        m_open.pop_back();
        return Saved(body, group);
    }

    Code Escape()
    {
        const WChar unit = m_rest.empty() ? WChar{0} : m_rest[0];
        if (unit >= '1' && unit <= '9')
        {
            return BackReference();
        }
        UnitClass found;
        if (ClassEscape(found))
        {
            return Class(std::move(found));
        }
        return {{Operation::Unit, UnitEscape()}};
    }

    Code BackReference()
    {
        const unsigned group = Number(Error::error_backref);
        if (group >= m_program.groups || std::find(m_open.begin(), m_open.end(), group) != m_open.end())
        {
            Fail(Error::error_backref);
        }
        m_program.regular = false;
        return {{Operation::BackReference, group}};
    }

    Code Class(UnitClass&& found)
    {
        found.Finish();
        m_program.classes.push_back(std::move(found));
        return {{Operation::Class, static_cast<std::uint32_t>(m_program.classes.size() - 1)}};
    }

    // \d \D \s \S \w \W, behind the backslash.
    bool ClassEscape(UnitClass& found)
    {
        const WChar letter = m_rest.empty() ? WChar{0} : m_rest[0];
        const WChar lower = ToLowerAscii(letter);
        if (lower != 'd' && lower != 's' && lower != 'w')
        {
            return false;
        }
        m_rest.remove_prefix(1);
        found.Add(NamedClass({&lower, 1}), letter != lower);
        return true;
    }

    // An escape that stands for one unit, behind the backslash.
    WChar UnitEscape()
    {
        const WChar unit = Next(Error::error_escape);
        constexpr WideLiteral letters = "tnvfr0"_w;
        if (const std::size_t found = letters.find(unit); found != WStringView::npos)
        {
            return "\t\n\v\f\r\0"_w[found];
        }
        if (unit == 'c')
        {
            const WChar letter = Next(Error::error_escape);
            if (ToLowerAscii(letter) < 'a' || ToLowerAscii(letter) > 'z')
            {
                Fail(Error::error_escape);
            }
            return letter % 32;
        }
        if (unit == 'x' || unit == 'u')
        {
            return HexEscape(unit == 'x' ? 2 : 4);
        }
        if (IsWordUnit(unit) && unit != '_')
        {
            Fail(Error::error_escape);
        }
        return unit;
    }

    WChar HexEscape(int digits)
    {
        unsigned value = 0;
        for (; digits > 0; --digits)
        {
            const WChar unit = Next(Error::error_escape);
            if (!IsHexDigit(unit))
            {
                Fail(Error::error_escape);
            }
            value = value * 16 + static_cast<unsigned>(IsDigit(unit) ? unit - '0' : ToLowerAscii(unit) - 'a' + 10);
        }
        return static_cast<WChar>(value);
    }

    Code Bracket()
    {
        UnitClass found;
        const bool complement = Take("^"_w);
        while (!Take("]"_w))
        {
            WChar first = 0;
            if (!BracketUnit(found, first))
            {
                continue;
            }
            WChar last = first;
            if (m_rest.size() >= 2 && m_rest[0] == '-' && m_rest[1] != ']')
            {
                m_rest.remove_prefix(1);
                if (!BracketUnit(found, last) || last < first)
                {
                    Fail(Error::error_range);
                }
            }
            found.Add(UnitRange{first, last});
        }
        if (complement)
        {
            found.Complement();
        }
        return Class(std::move(found));
    }

    // One unit of a bracket expression; false if it was a whole class, which was added.
    bool BracketUnit(UnitClass& found, WChar& unit)
    {
        if (Take("[:"_w))
        {
            const std::size_t end = std::min(m_rest.find(":]"_w), m_rest.size());
            const std::vector<UnitRange> ranges = NamedClass(m_rest.substr(0, end));
            if (end == m_rest.size() || ranges.empty())
            {
                Fail(Error::error_ctype);
            }
            m_rest.remove_prefix(end + 2);
            found.Add(ranges, false);
            return false;
        }
        if (Take("[="_w) || Take("[."_w))
        {
            Fail(Error::error_collate);
        }
        unit = Next(Error::error_brack);
        if (unit != '\\')
        {
            return true;
        }
        if (ClassEscape(found))
        {
            return false;
        }
        unit = Take("b"_w) ? WChar{'\b'} : UnitEscape();
        return true;
    }

    unsigned Number(Error::error_type error)
    {
        if (m_rest.empty() || !IsDigit(m_rest[0]))
        {
            Fail(error);
        }
        unsigned number = 0;
        while (!m_rest.empty() && IsDigit(m_rest[0]))
        {
            number = std::min(number * 10 + static_cast<unsigned>(m_rest[0] - '0'), 100u * 1000 * 1000);
            m_rest.remove_prefix(1);
        }
        return number;
    }

    bool Quantifier(Repeat& repeat)
    {
        if (Take("*"_w))
        {
            repeat = {0, Infinite, true};
        }
        else if (Take("+"_w))
        {
            repeat = {1, Infinite, true};
        }
        else if (Take("?"_w))
        {
            repeat = {0, 1, true};
        }
        else if (Take("{"_w))
        {
            repeat = Braces();
        }
        else
        {
            return false;
        }
        repeat.greedy = !Take("?"_w);
        return true;
    }

    Repeat Braces()
    {
        Repeat repeat{Number(Error::error_badbrace), 0, true};
        repeat.most = repeat.least;
        if (Take(","_w))
        {
            repeat.most = m_rest.starts_with("}"_w) ? Infinite : Number(Error::error_badbrace);
        }
        if (!Take("}"_w))
        {
            Fail(Error::error_brace);
        }
        if (repeat.most < repeat.least)
        {
            Fail(Error::error_badbrace);
        }
        return repeat;
    }

    Code Repeated(const Code& term, const Repeat& repeat)
    {
        const std::size_t size = term.size() + 1;
        const std::size_t copies = repeat.most == Infinite ? repeat.least + std::size_t{1} : repeat.most;
        if (copies > MaxInstructions || copies * size > MaxInstructions)
        {
            Fail(Error::error_space);
        }
        Code code;
        for (unsigned i = 0; i < repeat.least; ++i)
        {
            Append(code, term);
        }
        if (repeat.most == Infinite)
        {
            Append(code, Loop(term, repeat.greedy));
            return code;
        }
        for (std::size_t left = repeat.most - repeat.least; left > 0; --left)
        {
            code.push_back(Choice(repeat.greedy, 1, Offset(left * size)));
            Append(code, term);
        }
        return code;
    }

    Code Loop(const Code& term, bool greedy)
    {
        const bool consumes = term.size() == 1 && IsConsuming(term[0].operation);
        Code body;
        if (!consumes)
        {
            body.push_back({Operation::Save, m_loops, LoopSlot});
        }
        Append(body, term);
        if (!consumes)
        {
            body.push_back({Operation::CheckProgress, m_loops++, LoopSlot});
        }
        Code code{Choice(greedy, 1, Offset(body.size() + 2))};
        Append(code, body);
        code.push_back({Operation::Jump, 0, -Offset(body.size() + 1)});
        return code;
    }

    static bool IsConsuming(Operation operation) noexcept
    {
        return operation == Operation::Unit || operation == Operation::Any || operation == Operation::Class;
    }

    static Instruction Choice(bool greedy, std::int32_t inside, std::int32_t behind) noexcept
    {
        return {Operation::Split, 0, greedy ? inside : behind, greedy ? behind : inside};
    }

    // The slots of loops follow those of the groups, whose number is known at last.
    void NumberLoops() noexcept
    {
        for (Instruction& instruction : m_program.code)
        {
            const bool saves =
                instruction.operation == Operation::Save || instruction.operation == Operation::CheckProgress;
            if (saves && instruction.first == LoopSlot)
            {
                instruction.value += 2 * m_program.groups;
            }
        }
    }

    static constexpr std::int32_t LoopSlot = 1;

    WStringView m_rest;
    Program m_program;
    std::vector<std::uint32_t> m_open;
    std::uint32_t m_loops = 0;
};

} // namespace

Program Compile(WStringView pattern)
{
    return Compiler(pattern).Run();
}

} // namespace Quoll::Utilities::Regex
