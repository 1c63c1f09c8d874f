// The text and code of the exception that an action ends in.
#pragma once

#include "Quoll/Errors.h"

#include <cstdint>
#include <exception>
#include <string>
#include <utility>

namespace Quoll::Tests
{

using Failure = std::pair<std::string, std::uint32_t>;

/// Of a Win32Exception, the text goes without what the system says of the code. Other exceptions have the code 0.
template<class Action>
Failure FailureOf(const Action& action)
{
    try
    {
        action();
    }
    catch (const Utilities::Win32Exception& error)
    {
        const std::string text = error.what();
        return {text.substr(0, text.find(": ")), error.GetErrorCode()};
    }
    catch (const std::exception& error)
    {
        return {error.what(), 0};
    }
    return {"nothing is thrown", 0};
}

} // namespace Quoll::Tests
