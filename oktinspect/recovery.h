// SPDX-License-Identifier: MIT
#pragma once

// Stands behind recover.h. Not installed.

#include <oktinspect/recover.h>
#include <oktinspect/recoveredfile.h>

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace okt
{

/// The objects of a damaged pool file whose frames are whole and that the library can read, and the pool file made of them.
class Recovery
{
public:
    using Object = RecoveredObject;
    using Loss = RecoveryLoss;

    /// Reads the whole source, which must outlive this. Throws Failure only if it cannot be read.
    explicit Recovery(ByteSource &source, OnProgress const &onProgress = {});

    /// In the order of the new file. Objects of unknown classes are last, because a load stops at the first of them.
    std::vector<Object> const &objects() const { return m_objects; }
    /// Number of objects of unknown classes.
    int unknownObjects() const { return m_unknown; }
    std::vector<Loss> const &losses() const { return m_losses; }
    /// Wrong positions and sizes in the old header that are right in the new one.
    std::vector<Finding> const &mends() const { return m_mends; }
    /// The header of the file is used, with new positions. False: it is made from the objects.
    bool isHeaderKept() const { return m_header.isWhole; }
    HeaderPlace const &headerPlace() const { return m_header; }
    /// Of a damaged header: the origin of each field of the new one.
    std::vector<Finding> const &headerNotes() const { return m_headerNotes; }
    /// Neither a header nor an object was found.
    bool isNothing() const { return !m_header.isWhole && m_objects.empty(); }

    /// The new file. Its bytes are read from the source on demand.
    RecoveredFile &file() { return m_file; }
    /// The same, piece by piece.
    void write(std::function<void(std::string_view)> const &sink);

private:
    struct Place
    {
        std::int64_t position; ///< in the new objects block
        std::int64_t size;
        std::int64_t begin; ///< in the damaged file
    };

    void take(Stretch const &stretch, bool isRemnant = false);
    void takeRemnant(Stretch const &stretch);
    bool endsFrame(std::int64_t at);
    bool goesOn(std::optional<Stretch> const &following);
    void noteLoss(Stretch const &stretch, Finding why, bool isObject);
    void placeObjects();
    void makeFile();
    std::string keptHeader();
    void mendPlace(StoredValue const &id, std::int32_t position, std::int32_t size);
    std::string newHeader();

    ByteSource &m_source;
    HeaderPlace m_header;
    std::vector<Object> m_objects;
    std::vector<Loss> m_losses;
    std::vector<Finding> m_mends;
    std::vector<Finding> m_headerNotes;
    std::map<std::string, Place> m_places; ///< by the 16 bytes of the id
    int m_unknown = 0;
    std::optional<_GUID> m_construct;
    std::optional<_GUID> m_index;
    std::vector<_GUID> m_pictures;
    std::map<std::string, int> m_owners; ///< owners of parameters, with the number of parameters
    RecoveredFile m_file;
};

/// Id and name of the object in a frame, if known.
ObjectLabel labelOf(Stretch const &stretch);

} // namespace okt
