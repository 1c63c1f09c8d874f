// The programs and libraries that are loaded into this process. A module is named by the address at which it
// begins.
#pragma once

#include <cstdint>
#include <string>

namespace Quoll::Platform
{

/// The program itself.
std::uintptr_t ProgramModule() noexcept;

/// The module that holds the address; 0 if none does.
std::uintptr_t FindModule(std::uintptr_t address) noexcept;

/// The file that the module was loaded from, as an absolute path with all links followed; empty if it isn't from a
/// file. Of a file that was deleted or replaced since, the path it had.
std::string ModuleFile(std::uintptr_t module);

} // namespace Quoll::Platform
