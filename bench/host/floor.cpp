// SPDX-License-Identifier: MIT
#include "../report.h"
#include "hostcase.h"
#include "process.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

// What nobody can do quicker: bytes copied, memory touched, a file read by one call.

namespace
{
std::size_t sizeOf(std::string const &path)
{
    struct stat status = {};
    demand(stat(path.c_str(), &status) == 0, "looking at a file");
    return static_cast<std::size_t>(status.st_size);
}

HostFigures copy(int count, std::string const &path)
{
    std::size_t const size = sizeOf(path);
    auto const source = std::make_unique<char[]>(size);
    auto const target = std::make_unique<char[]>(size);
    std::memset(source.get(), 1, size);
    return measureFirstAndLater(hostTurns(count), [&] {
        std::memcpy(target.get(), source.get(), size);
        keep(target.get());
    });
}

/// The first access to memory that the process has just been given.
HostFigures touch(int, std::string const &path)
{
    std::size_t const size = sizeOf(path);
    char *const memory = static_cast<char *>(std::malloc(size));
    demand(memory != nullptr, "asking for memory");
    HostFigures figures = measureFirst([&] {
        std::memset(memory, 1, size);
        keep(memory);
    });
    figures.bytes = static_cast<double>(size);
    return figures;
}

HostFigures readOnly(int count, std::string const &path)
{
    std::size_t const size = sizeOf(path);
    auto const target = std::make_unique<char[]>(size);
    return measureFirstAndLater(hostTurns(count), [&] {
        int const file = open(path.c_str(), O_RDONLY);
        demand(file >= 0 && read(file, target.get(), size) == static_cast<ssize_t>(size) && close(file) == 0, "reading bytes");
    });
}
// What a program without classes, ids, checks and texts of their own would do: an object is a structure of fixed size, in memory that is
// in use, and an entry of an array that is sorted already.
constexpr std::size_t kFrame = 434;    // bytes of an image for an object, as in that of a template
constexpr std::size_t kConstant = 280; // of these, what is the same in all frames

struct FloorObject
{
    char values[kFrame - kConstant];
    char other[130]; // as large as a parameter
};

struct FloorEntry
{
    std::uint64_t id[2];
    FloorObject *object;
};

class Floor
{
public:
    explicit Floor(int count)
        : m_objects(static_cast<std::size_t>(count)), m_entries(m_objects.size()), m_image(m_objects.size() * kFrame, 1)
    {
        load();
    }
    void load()
    {
        for (std::size_t i = 0; i < m_objects.size(); ++i)
        {
            char const *const frame = m_image.data() + i * kFrame;
            FloorObject &object = m_objects[i];
            m_isSame = m_isSame && std::memcmp(frame, m_constant, kConstant) == 0;
            std::memcpy(object.values, frame + kConstant, sizeof object.values);
            std::memset(object.other, 0, sizeof object.other);
            std::memcpy(m_entries[i].id, frame + kConstant, sizeof m_entries[i].id);
            m_entries[i].object = &object;
        }
        keep(m_objects.data());
    }
    void save()
    {
        char *place = m_image.data();
        for (FloorEntry const &entry : m_entries)
        {
            std::memcpy(place, m_constant, kConstant);
            std::memcpy(place + kConstant, entry.object->values, sizeof entry.object->values);
            place += kFrame;
        }
        keep(m_image.data());
    }

private:
    std::vector<FloorObject> m_objects;
    std::vector<FloorEntry> m_entries;
    std::vector<char> m_image;
    char m_constant[kConstant] = {};
    bool m_isSame = true;
};

HostFigures floorSave(int count, std::string const &)
{
    Floor floor(count);
    return measureFirstAndLater(hostTurns(count), [&] { floor.save(); });
}

HostFigures floorLoad(int count, std::string const &)
{
    Floor floor(count);
    floor.save(); // so that the constant parts are those that are expected
    return measureFirstAndLater(hostTurns(count), [&] { floor.load(); });
}
} // namespace

std::vector<HostCase> floorHostCases()
{
    return {{"copy", copy}, {"touch", touch}, {"read", readOnly}, {"floor-save", floorSave}, {"floor-load", floorLoad}};
}
