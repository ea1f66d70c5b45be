// SPDX-License-Identifier: MIT
#pragma once

#include <oktformat/recordwalk.h>

#include <oktplatform/oktplatform.h>

#include <string>
#include <vector>

namespace okt
{

/// The classes whose members are known.
enum class KnownClass
{
    Other,
    Pool,
    Object,
    Parameter,
    Category,
    GroupCategory,
    Relation,
    ParamRelation,
    Picture,
    Id,
    Variant,
    Point
};

/// The comparison ignores case.
KnownClass knownClass(std::string_view name);
/// The frames of ids, variants and points, which are values inside objects and never objects.
bool isValueClass(KnownClass known);

/// A member of an object as stored in its frame. The frame of an id, variant or point is one value.
struct StoredValue
{
    enum class Kind
    {
        Bool,
        Short,
        Long,
        Double,
        Text16,
        Text8,
        Bytes,
        Id,
        Variant,
        Point,
        Frame ///< another nested frame; its members follow, one deeper
    };

    Kind kind = Kind::Bool;
    KnownClass owner = KnownClass::Other; ///< the class in whose section it is: that of the object or a base
    int section = 0;
    int ordinal = 0; ///< in the section, from 0
    int nested = 0;  ///< number of nested frames around it; 0: a member of the object itself
    std::int64_t begin = 0;
    std::int64_t end = 0;
    std::int64_t payload = 0; ///< of a text or bytes; of a nested frame its class name; of a variant with a text the text
    std::int64_t payloadSize = 0;
    std::int32_t number = 0;         ///< of a bool, short, long, and of a variant with one
    std::vector<double> reals;       ///< of a double, a point, and of a variant with one
    _GUID id = {};                   ///< of an id
    std::int32_t variantKind = 0;    ///< of a variant
    bool isComplete = true;          ///< false: an id, variant or point lacks a part
    Kind variantValue = Kind::Frame; ///< of a variant the kind of its value; Frame: none
};

/// Reads the members of one object. The frames of its class and its bases are levels, not values.
class ValueWalk
{
public:
    /// `begin` is the byte at which the object's frame begins. The source must outlive the walk.
    ValueWalk(ByteSource &source, std::int64_t begin) : m_source(source), m_walk(source, begin) {}

    /// False: the frame has ended, or the bytes are damaged.
    bool next();
    StoredValue const &value() const { return m_value; }
    RecordWalk const &records() const { return m_walk; }

    /// Offset of the first record that the grammar does not allow, and why; -1 and null: none so far.
    std::int64_t oddAt() const { return m_oddAt; }
    char const *oddity() const { return m_oddity; }

    /// The class names of the object and its bases that were read so far.
    std::vector<std::string> const &classNames() const { return m_classNames; }

private:
    struct Level
    {
        KnownClass known;
        int section;
        int ordinal;
    };

    bool beginFrame(RecordPlace const &record);
    bool plainValue(RecordPlace const &record);
    void place(StoredValue::Kind kind, RecordPlace const &record);
    void collect(RecordPlace const &record);
    void finishCollected(RecordPlace const &record);

    ByteSource &m_source;
    RecordWalk m_walk;
    StoredValue m_value;
    std::vector<std::string> m_classNames;
    std::vector<Level> m_levels;    ///< the frames of the object and its bases that are open
    std::size_t m_nestedDepth = 0;  ///< of the outermost nested frame, in records; 0: none is open
    std::size_t m_collectDepth = 0; ///< of the frame that is collected into one value; 0: none
    std::int64_t m_oddAt = -1;
    char const *m_oddity = nullptr;
    int m_nested = 0;
    int m_words = 0;
};

/// The text of a value, and that of its class name.
CString textOf(ByteSource &source, StoredValue const &value);
CString text16At(ByteSource &source, std::int64_t payload, std::int64_t size);
CString text8At(ByteSource &source, std::int64_t payload, std::int64_t size);

} // namespace okt
