#pragma once

#include <oktformat/objectscan.h>
#include <oktinspect/finding.h>
#include <oktinspect/headercheck.h>
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

/// What of a damaged pool file is whole as far as its frames and the library tell, and the pool file made of that.
class Recovery
{
public:
    struct Object
    {
        std::int64_t begin; ///< in the damaged file
        std::int64_t size;
        bool isKnown;
        std::string id; ///< its 16 bytes; empty: it has none
        bool isRemnant; ///< it may be the base of another object that is damaged
    };

    /// Bytes that are not in the new file.
    struct Loss
    {
        std::int64_t begin;
        std::int64_t end;
        std::int64_t faultAt;
        std::string what;
        std::string object;      ///< what can be told of it: its id and name; empty: nothing
        std::optional<_GUID> id; ///< of a lost object
        bool isObject;           ///< false: the header, or bytes of which nobody can tell what they were
    };

    /// What the header of the damaged file says wrongly, and that of the new one rightly.
    struct Mend
    {
        std::int64_t at;
        std::string what;
    };

    /// Looks through the whole source, which must outlive this. Throws Failure only when it cannot be read.
    explicit Recovery(ByteSource &source, OnProgress const &onProgress = {});

    /// In the order of the new file: those of classes that are not known here stand last, because a load stops at the first.
    std::vector<Object> const &objects() const { return m_objects; }
    /// How many of them are of such classes.
    int unknownObjects() const { return m_unknown; }
    std::vector<Loss> const &losses() const { return m_losses; }
    std::vector<Mend> const &mends() const { return m_mends; }
    /// The header of the file is used, with its places counted anew. Else it is made of what could be found.
    bool isHeaderKept() const { return m_header.isWhole; }
    HeaderPlace const &headerPlace() const { return m_header; }
    /// What became of a header that was not whole: one line for each field.
    std::vector<std::string> const &headerNotes() const { return m_headerNotes; }
    /// Nothing at all was found that would make a pool file.
    bool isNothing() const { return !m_header.isWhole && m_objects.empty(); }

    /// The new file. Its bytes are taken from the source when they are looked at.
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
    void noteLoss(Stretch const &stretch, std::string const &what, bool isObject);
    void placeObjects();
    void makeFile();
    std::string keptHeader();
    void mendPlace(StoredValue const &id, std::int32_t position, std::int32_t size);
    std::string newHeader();

    ByteSource &m_source;
    HeaderPlace m_header;
    std::vector<Object> m_objects;
    std::vector<Loss> m_losses;
    std::vector<Mend> m_mends;
    std::vector<std::string> m_headerNotes;
    std::map<std::string, Place> m_places; ///< by the 16 bytes of the id
    int m_unknown = 0;
    std::optional<_GUID> m_construct;
    std::optional<_GUID> m_index;
    std::vector<_GUID> m_pictures;
    std::map<std::string, int> m_owners; ///< of parameters, and how often
    RecoveredFile m_file;
};

/// An object by its id and name, as far as there are any.
std::string objectText(Stretch const &stretch);

} // namespace okt
