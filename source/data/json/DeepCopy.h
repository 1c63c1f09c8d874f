// Copies values and objects with all that is nested in them, whatever the depth.
#pragma once

#include "Quoll/JsonObject.h"

#include <utility>
#include <vector>

namespace Quoll::Json
{

class DeepCopy
{
public:
    // Into a value, or an object, that is new.
    static void Make(const DataValue& from, DataValue& to);
    static void Make(const DataObject& from, DataObject& to);

private:
    void Copy(const DataValue& from, DataValue& to);
    void Copy(const DataObject& from, DataObject& to);
    void Finish();

    // Nested objects whose copies are empty yet.
    std::vector<std::pair<const DataObject*, DataObject*>> m_pending;
};

} // namespace Quoll::Json
