// Security descriptors in their absolute form. The only access list that can be made as yet is the
// null one.
#include "platform/linux/ErrnoTable.h"

#include <windows.h>

#include <cstdlib>

using Quoll::Platform::Fail;

BOOL InitializeSecurityDescriptor(PSECURITY_DESCRIPTOR descriptor, DWORD revision) noexcept
{
    if (revision != SECURITY_DESCRIPTOR_REVISION)
    {
        return Fail(ERROR_UNKNOWN_REVISION);
    }
    if (descriptor == nullptr)
    {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    *static_cast<SECURITY_DESCRIPTOR*>(descriptor) = {.Revision = SECURITY_DESCRIPTOR_REVISION,
                                                      .Reserved = 0,
                                                      .Control = 0,
                                                      .Owner = nullptr,
                                                      .Group = nullptr,
                                                      .Sacl = nullptr,
                                                      .Dacl = nullptr};
    return TRUE;
}

BOOL SetSecurityDescriptorDacl(PSECURITY_DESCRIPTOR descriptor, BOOL present, PACL dacl, BOOL defaulted) noexcept
{
    auto* const record = static_cast<SECURITY_DESCRIPTOR*>(descriptor);
    if (record == nullptr)
    {
        return Fail(ERROR_INVALID_SECURITY_DESCR);
    }
    if (record->Revision != SECURITY_DESCRIPTOR_REVISION)
    {
        return Fail(ERROR_UNKNOWN_REVISION);
    }
    if (present != FALSE && dacl != nullptr)
    {
        return Fail(ERROR_INVALID_ACL);
    }
    unsigned control = record->Control & ~unsigned{SE_DACL_PRESENT | SE_DACL_DEFAULTED};
    if (present != FALSE)
    {
        control |= SE_DACL_PRESENT | (defaulted != FALSE ? unsigned{SE_DACL_DEFAULTED} : 0u);
    }
    record->Control = static_cast<WORD>(control);
    record->Dacl = nullptr;
    return TRUE;
}

void* FreeSid(PSID sid) noexcept
{
    std::free(sid);
    return nullptr;
}
