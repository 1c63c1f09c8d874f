// The texts of error codes, in our own words: every code that this layer and the library above it can
// give, and the common ones that callers put into an exception.
#include "platform/linux/ErrorTexts.h"

#include <algorithm>
#include <iterator>

namespace Quoll::Platform
{

namespace
{

struct ErrorText
{
    DWORD code;
    const WCHAR* text;
};

// In ascending order of the codes.
constexpr ErrorText k_texts[] = {
    {0, u"The operation succeeded.\r\n"},
    {1, u"The function is not valid for this object.\r\n"},
    {2, u"No such file was found.\r\n"},
    {3, u"No such path was found.\r\n"},
    {4, u"Too many files are open.\r\n"},
    {5, u"Access was denied.\r\n"},
    {6, u"The handle is not valid.\r\n"},
    {8, u"Not enough memory for the operation.\r\n"},
    {11, u"The program's format is wrong.\r\n"},
    {12, u"The access code is not valid.\r\n"},
    {13, u"The data is not valid.\r\n"},
    {14, u"Out of memory.\r\n"},
    {15, u"No such drive was found.\r\n"},
    {17, u"Both files must be on one device.\r\n"},
    {18, u"There are no further files.\r\n"},
    {19, u"The medium can't be written.\r\n"},
    {21, u"The device is not ready.\r\n"},
    {24, u"The length is wrong.\r\n"},
    {31, u"General failure.\r\n"},
    {32, u"Another process is using the file.\r\n"},
    {33, u"Another process has locked part of the file.\r\n"},
    {38, u"The end of the file is reached.\r\n"},
    {50, u"The request is not supported.\r\n"},
    {53, u"No such network path was found.\r\n"},
    {80, u"The file exists already.\r\n"},
    {87, u"A parameter is wrong.\r\n"},
    {109, u"The other end has closed the pipe.\r\n"},
    {110, u"The file can't be opened.\r\n"},
    {111, u"The name is too long for the buffer.\r\n"},
    {112, u"The disk is full.\r\n"},
    {120, u"The call is not provided here.\r\n"},
    {121, u"The wait has timed out.\r\n"},
    {122, u"The buffer is too small.\r\n"},
    {123, u"The name is not valid.\r\n"},
    {126, u"No such module was found.\r\n"},
    {127, u"No such procedure was found.\r\n"},
    {128, u"There are no child processes to wait for.\r\n"},
    {131, u"The position would lie before the file's start.\r\n"},
    {132, u"The device has no position.\r\n"},
    {145, u"The folder is not empty.\r\n"},
    {158, u"The segment is not locked.\r\n"},
    {161, u"The path is not valid.\r\n"},
    {170, u"The resource is in use.\r\n"},
    {183, u"The object exists already.\r\n"},
    {191, u"The program's signature is not valid.\r\n"},
    {193, u"The file is no valid program.\r\n"},
    {206, u"The name is too long.\r\n"},
    {223, u"The file is too large.\r\n"},
    {230, u"The pipe's state is not valid.\r\n"},
    {231, u"No instance of the pipe is free.\r\n"},
    {232, u"The pipe is closing.\r\n"},
    {233, u"No process is at the other end of the pipe.\r\n"},
    {234, u"There is further data.\r\n"},
    {235, u"The operation has done nothing.\r\n"},
    {258, u"The time for the wait is over.\r\n"},
    {259, u"There are no further items.\r\n"},
    {267, u"The name is not that of a folder.\r\n"},
    {288, u"The caller does not own the mutex.\r\n"},
    {298, u"The semaphore's limit is exceeded.\r\n"},
    {317, u"The code has no message text.\r\n"},
    {487, u"The address is not valid.\r\n"},
    {534, u"The result has too many bits.\r\n"},
    {535, u"A client is at the other end of the pipe already.\r\n"},
    {536, u"The pipe still waits for a client.\r\n"},
    {735, u"The wait has ended because what it waited for was closed.\r\n"},
    {995, u"The operation was cancelled.\r\n"},
    {996, u"The operation is still under way.\r\n"},
    {997, u"The operation goes on in the background.\r\n"},
    {998, u"The memory can't be accessed.\r\n"},
    {1004, u"The flags are not valid.\r\n"},
    {1006, u"The file has changed and can't be used any longer.\r\n"},
    {1008, u"There is no such token.\r\n"},
    {1018, u"The registry key is marked for deletion.\r\n"},
    {1021, u"A key under a volatile one must be volatile too.\r\n"},
    {1022, u"Changes were lost; the folder must be listed anew.\r\n"},
    {1051, u"Other services that run need this one.\r\n"},
    {1053, u"The service did not answer in time.\r\n"},
    {1056, u"The service runs already.\r\n"},
    {1060, u"There is no such service.\r\n"},
    {1062, u"The service does not run.\r\n"},
    {1072, u"The service is marked for deletion.\r\n"},
    {1073, u"The service exists already.\r\n"},
    {1113, u"The text is ill-formed and can't be converted.\r\n"},
    {1114, u"The module's start routine failed.\r\n"},
    {1115, u"The system is shutting down.\r\n"},
    {1117, u"The device reported an error.\r\n"},
    {1131, u"The wait would never end.\r\n"},
    {1142, u"The file has too many links.\r\n"},
    {1150, u"A newer version of the system is needed.\r\n"},
    {1168, u"The element was not found.\r\n"},
    {1222, u"There is no network.\r\n"},
    {1223, u"The user cancelled the operation.\r\n"},
    {1225, u"The other side refused the connection.\r\n"},
    {1231, u"The network can't be reached.\r\n"},
    {1232, u"The host can't be reached.\r\n"},
    {1236, u"The connection was aborted.\r\n"},
    {1237, u"The operation failed for now; try again.\r\n"},
    {1295, u"The disk quota is used up.\r\n"},
    {1300, u"The caller does not hold all the privileges named.\r\n"},
    {1305, u"The revision is unknown.\r\n"},
    {1307, u"The account can't be an owner here.\r\n"},
    {1308, u"The account can't be a primary group here.\r\n"},
    {1309, u"Only an impersonation token can be used here.\r\n"},
    {1313, u"There is no such privilege.\r\n"},
    {1314, u"The caller lacks a privilege that is needed.\r\n"},
    {1317, u"There is no such account.\r\n"},
    {1326, u"The user name or the password is wrong.\r\n"},
    {1332, u"No account belongs to the name or identifier.\r\n"},
    {1336, u"The access control list is not valid.\r\n"},
    {1337, u"The security identifier is not valid.\r\n"},
    {1338, u"The security descriptor is not valid.\r\n"},
    {1346, u"The impersonation level is not valid or is missing.\r\n"},
    {1359, u"An internal error happened.\r\n"},
    {1392, u"The file or folder is damaged.\r\n"},
    {1450, u"The system lacks resources for the request.\r\n"},
    {1460, u"The time for the operation is over.\r\n"},
    {1627, u"The function failed.\r\n"},
    {1629, u"The data has another type than expected.\r\n"},
    {1630, u"The data has a type that is not supported.\r\n"},
    {1705, u"The text is no valid unique identifier.\r\n"},
    {1812, u"The file holds no resources.\r\n"},
    {1813, u"The file holds no resource of this type.\r\n"},
    {1814, u"The file holds no resource of this name.\r\n"},
    {1921, u"The name leads through too many links.\r\n"},
};

static_assert(std::ranges::is_sorted(k_texts, std::ranges::less_equal{}, &ErrorText::code));

} // namespace

const WCHAR* SystemMessage(DWORD code) noexcept
{
    const auto* found = std::ranges::lower_bound(k_texts, code, {}, &ErrorText::code);
    return found != std::end(k_texts) && found->code == code ? found->text : nullptr;
}

} // namespace Quoll::Platform
