#include "support/TemporaryDirectory.h"

#include "support/Eventually.h"

#include <random>
#include <string>
#include <system_error>

namespace Quoll::Tests
{

TemporaryDirectory::TemporaryDirectory()
{
    const auto parent = std::filesystem::temp_directory_path();
    std::random_device random;
    do
    {
        m_path = parent / ("quoll-test-" + std::to_string(random()) + std::to_string(random()));
    } while (!std::filesystem::create_directory(m_path));
}

TemporaryDirectory::~TemporaryDirectory()
{
    // Windows keeps the files of a process that was just killed busy for a moment.
    Eventually(
        [this] {
            std::error_code error;
            std::filesystem::remove_all(m_path, error);
            return !error;
        },
        std::chrono::seconds(5));
}

} // namespace Quoll::Tests
