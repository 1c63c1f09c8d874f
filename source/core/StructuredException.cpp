#include "Quoll/StructuredException.h"

#include "core/SecurePrint.h"

#include <windows.h>

#include <algorithm>
#include <cstdlib>

namespace Quoll::Utilities
{

using namespace Quoll::Literals;

namespace
{

constexpr std::uint32_t k_ownCode = 0xE0000001;
constexpr std::uint32_t k_lastCode = 0xFFFFFFFF;
constexpr std::size_t k_workingSize = 2048;
constexpr DWORD k_integerRegisters = 0x10002;
constexpr DWORD k_controlRegisters = 0x10001;
constexpr WideLiteral k_lineEnd = "\r\n"_w;

struct ExceptionName
{
    std::uint32_t code;
    WideLiteral name;
};

constexpr ExceptionName k_names[] = {
    {0xC0000005, "ACCESS_VIOLATION"_w},
    {0xC000008C, "ARRAY_BOUNDS_EXCEEDED"_w},
    {0x80000003, "BREAKPOINT FOUND"_w},
    {0x80000002, "DATATYPE_MISALIGNMENT"_w},
    {0xC000008D, "FLT_DENORMAL_OPERAND"_w},
    {0xC000008E, "FLT_DIVIDE_BY_ZERO"_w},
    {0xC000008F, "FLT_INEXACT_RESULT"_w},
    {0xC0000090, "FLT_INVALID_OPERATION"_w},
    {0xC0000091, "FLT_OVERFLOW"_w},
    {0xC0000092, "FLT_STACK_CHECK"_w},
    {0xC0000093, "FLT_UNDERFLOW"_w},
    {0xC000001D, "ILLEGAL_INSTRUCTION"_w},
    {0xC0000006, "IN_PAGE_ERROR"_w},
    {0xC0000094, "INT_DIVIDE_BY_ZERO"_w},
    {0xC0000095, "INT_OVERFLOW"_w},
    {0xC0000026, "INVALID_DISPOSITION"_w},
    {0xC0000025, "NONCONTINUABLE_EXCEPTION"_w},
    {0xC0000096, "PRIV_INSTRUCTION"_w},
    {0x80000004, "SINGLE_STEP"_w},
    {0xC00000FD, "STACK_OVERFLOW"_w},
    {k_ownCode, "SE_ZERO_ELEM"_w},
    {k_lastCode, "UNKNOWN"_w},
};

// The low half of a 64-bit register.
template<typename Register>
DWORD Low(Register value) noexcept
{
    return static_cast<DWORD>(value);
}

const WChar* OwnText(const EXCEPTION_RECORD& record) noexcept
{
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the argument words hold addresses
    return record.NumberParameters != 0 ? reinterpret_cast<const WChar*>(record.ExceptionInformation[0]) : nullptr;
}

// The print gets the heading's length as the buffer's size, though the buffer is larger; that is
// the contract, and so its text never arrives.
void AddRegisters(const CONTEXT& context, WString& text)
{
    WString working(k_workingSize, WChar());
    working.assign("Registers:\r\n"_w);
    const std::size_t size = working.size();
    if ((context.ContextFlags & k_integerRegisters) != 0)
    {
        SecurePrint(working.data(), size, k_workingSize - 1,
                    "EAX = %08X  EBX = %08X%s  ECX = %08X  EDX = %08X%s  ESI = %08X  EDI = %08x "_w, Low(context.Rax),
                    Low(context.Rbx), k_lineEnd.data(), Low(context.Rcx), Low(context.Rdx), k_lineEnd.data(),
                    Low(context.Rsi), Low(context.Rdi));
        text.append(working, 0, size);
    }
    if ((context.ContextFlags & k_controlRegisters) != 0)
    {
        SecurePrint(working.data(), size, k_workingSize - 1,
                    "%s  EIP = %08X  EBP = %08X%s  ESP = %08X  Flg = %08X%s  CS = %08X   SS = %08X"_w, k_lineEnd.data(),
                    Low(context.Rip), Low(context.Rbp), k_lineEnd.data(), Low(context.Rsp), Low(context.EFlags),
                    k_lineEnd.data(), Low(context.SegSs), Low(context.SegCs));
        text.append(working, 0, size);
    }
}

} // namespace

int Exception::CheckException(const EXCEPTION_POINTERS* pointers, WString& text)
{
    text.clear();
    const EXCEPTION_RECORD* const record = pointers != nullptr ? pointers->ExceptionRecord : nullptr;
    if (record == nullptr)
    {
        return EXCEPTION_EXECUTE_HANDLER;
    }
    if (record->ExceptionCode == k_ownCode)
    {
        if (const WChar* const own = OwnText(*record))
        {
            text = own;
        }
        return EXCEPTION_EXECUTE_HANDLER;
    }
    text = GetExceptionType(record->ExceptionCode);
    if (!text.empty())
    {
        text.append(k_lineEnd).append("  "_w);
    }
    if (pointers->ContextRecord != nullptr)
    {
        AddRegisters(*pointers->ContextRecord, text);
    }
    return EXCEPTION_EXECUTE_HANDLER;
}

WString Exception::GetExceptionType(std::uint32_t code)
{
    const auto* row = std::begin(k_names);
    while (row->code != code && row->code != k_lastCode)
    {
        ++row;
    }
    return row->name;
}

void Exception::SetException(const std::uintptr_t* arguments)
{
    static_assert(sizeof(ULONG_PTR) == sizeof(std::uintptr_t));
    RaiseException(k_ownCode, EXCEPTION_NONCONTINUABLE, 1, reinterpret_cast<const ULONG_PTR*>(arguments));
    std::abort(); // a debugger alone could make it return
}

} // namespace Quoll::Utilities
