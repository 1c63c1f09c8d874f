// Destroys nested objects one after the other, not one within the other.
#pragma once

#include "Quoll/JsonObject.h"

namespace Quoll::Json
{

// Objects that nobody else owns, on their way to be destroyed. They are linked through themselves,
// so that no memory is needed.
class Dismantling
{
public:
    Dismantling() noexcept = default;
    Dismantling(const Dismantling&) = delete;
    Dismantling& operator=(const Dismantling&) = delete;
    ~Dismantling();

    // Takes the objects out of the values that only they own. Of a map, nothing is left but its destruction.
    void Collect(ValueMap& values) noexcept;
    void Collect(DataValue& value) noexcept;

private:
    bool CollectLists(DataValue& value) noexcept;
    void Collect(std::shared_ptr<DataObject>& object) noexcept;
    void HandOverTo(Dismantling& other) noexcept;

    std::shared_ptr<DataObject> m_first;
    DataObject* m_last = nullptr;
};

} // namespace Quoll::Json
