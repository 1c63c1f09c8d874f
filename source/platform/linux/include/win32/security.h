// Security descriptors, as far as pipes and kernel objects take them.
#pragma once

#include "types.h"

using PACL = ACL*;

struct SECURITY_DESCRIPTOR
{
    BYTE Revision;
    BYTE Reserved;
    WORD Control;
    PSID Owner;
    PSID Group;
    PACL Sacl;
    PACL Dacl;
};
using PSECURITY_DESCRIPTOR = void*;

constexpr DWORD SECURITY_DESCRIPTOR_REVISION = 1;
constexpr WORD SE_DACL_PRESENT = 4;
constexpr WORD SE_DACL_DEFAULTED = 8;

extern "C"
{
    BOOL InitializeSecurityDescriptor(PSECURITY_DESCRIPTOR descriptor, DWORD revision) noexcept;
    /// Takes the null list, which grants everybody everything; no other list can be made on Linux
    /// yet, so any other is ERROR_INVALID_ACL.
    BOOL SetSecurityDescriptorDacl(PSECURITY_DESCRIPTOR descriptor, BOOL present, PACL dacl, BOOL defaulted) noexcept;
    /// Releases a SID; null on success.
    void* FreeSid(PSID sid) noexcept;
}
