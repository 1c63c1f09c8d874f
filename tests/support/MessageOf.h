// The text of the exception that an action ends in.
#pragma once

#include <string>

namespace Quoll::Tests
{

template<class Exception, class Action>
std::string MessageOf(const Action& action)
{
    try
    {
        action();
    }
    catch (const Exception& error)
    {
        return error.what();
    }
    return "nothing is thrown";
}

} // namespace Quoll::Tests
