// Writes that go on after the function that began them has returned.
//
// The platform may use a pending write's bytes and OVERLAPPED record until the write's event is
// signalled. A write that nobody waits for any longer and that can't be cancelled keeps them here.
#pragma once

#include "Quoll/SharedHandle.h"

#include "pipes/AsyncIOBuffer.h"

#include <list>
#include <memory>

namespace Quoll::Utilities
{

struct PipeWrite
{
    AsyncIOBuffer buffer;
    SharedHandle event;
    std::shared_ptr<void> record; // owns the OVERLAPPED record
};

// A list of one, made before the write begins: keeping it then can't fail.
using PipeWriteNode = std::list<PipeWrite>;

// What hasn't ended when the object goes, its pipe closed or disconnected, moves to a list of the
// process, which later writers clear.
class KeptWrites
{
public:
    KeptWrites() = default;
    KeptWrites(const KeptWrites&) = delete;
    KeptWrites& operator=(const KeptWrites&) = delete;
    ~KeptWrites();

    void Keep(PipeWriteNode write) noexcept;
    void DropFinished() noexcept;
    void Abandon() noexcept;

private:
    std::list<PipeWrite> m_writes;
};

} // namespace Quoll::Utilities
