// What the operating systems do differently for ChildProcess.
#pragma once

#include "support/ChildProcess.h"

namespace Quoll::Tests
{

/// Command lines are plain ASCII without blanks and quotes; ChildProcess encodes the rest.
std::shared_ptr<NativeChild> StartNative(const Arguments& commandLine, const Environment& environment,
                                         const std::filesystem::path& output);
std::uint32_t NativeId(const NativeChild& child) noexcept;
void NativeWrite(NativeChild& child, std::string_view text);
void NativeKill(NativeChild& child) noexcept;
std::optional<int> NativeWait(NativeChild& child, std::chrono::milliseconds limit);

} // namespace Quoll::Tests
