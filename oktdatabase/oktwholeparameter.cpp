// SPDX-License-Identifier: MIT
#include <oktdatabase/oktwholeparameter.h>

#include <oktdatabase/oktimageroom.h>
#include <oktdatabase/oktownclasses.h>
#include <oktdatabase/oktparametertypes.h>
#include <oktdatabase/oktshortage.h>
#include <oktplatform/oktarena.h>
#include <oktplatform/okthints.h>

#include <cstring>
#include <new>
#include <typeinfo>
#include <utility>

namespace
{
// The stretches of the frame between the values whose length differs from frame to frame: the texts, the number, the ids.
constexpr auto kBeforeName = beginClass("OKTDbParameter", 2) + kObjectFrame + beginMembers(1);
constexpr auto kBeforeNumber = kAnyLong + beginClass("OKTVariant", 1) + beginMembers(1) + kAnyLong;
constexpr auto kBeforeIds = kEndMembers + kEndClass + kAnyLong + kAnyId + kAnyId + kAnyLong;
constexpr auto kBeforeDescription = stretchOf(kEndMembers + beginMembers(2));
constexpr auto kEnd = stretchOf(kEndMembers + kEndClass);

} // namespace

// What goes into a frame.
struct OKTWholeParameter::Given
{
    OKTDbObjectId const &id;
    OktTextView name;
    std::int32_t type;
    std::int32_t kind;
    tagVARIANT const &value;
    std::int32_t listIndex;
    OKTDbObjectId const &category;
    OKTDbObjectId const &owner;
    std::int32_t count;
    IdArray const &ids;
    OktTextView expression;
    OktTextView description;
};

// What comes out of one, before anything is made of it.
struct OKTWholeParameter::Taken
{
    OKTStoredId id;
    OKTStoredText name;
    std::int32_t type = 0;
    std::int32_t kind = 0;
    tagVARIANT value;
    std::int32_t listIndex = 0;
    OKTStoredId category;
    OKTStoredId owner;
    std::int32_t count = 0;
    IdArray ids;
    OKTStoredText expression;
    OKTStoredText description;
};

inline OKTWholeParameter::Given OKTWholeParameter::givenOf(OKTDbParameter const &parameter, tagVARIANT const &value)
{
    return {idOf(parameter),
            parameter.m_strUserName.View(),
            parameter.m_nParamType,
            value.vt,
            value,
            parameter.m_nListIndex,
            parameter.m_idCategory,
            parameter.m_idOwner,
            parameter.m_tabIdsParams.getSize(),
            parameter.m_tabIdsParams,
            parameter.m_strExpression.View(),
            parameter.m_strDescription.View()};
}

/// The layout.
// Compiled into each caller, so that the pieces need not stand in memory.
template <typename Path, typename Members> OKT_INLINE inline bool OKTWholeParameter::walk(Path &path, Members &members)
{
    return path.stretch(kBeforeName, members.id) &&                                                       //
           path.text(members.name) &&                                                                     //
           path.stretch(kBeforeNumber, members.type, members.kind) &&                                     //
           path.number(members.kind, members.value) &&                                                    //
           path.stretch(kBeforeIds, members.listIndex, members.category, members.owner, members.count) && //
           path.ids(members.count, members.ids) &&                                                        //
           path.text(members.expression) &&                                                               //
           path.stretch(kBeforeDescription) &&                                                            //
           path.text(members.description) &&                                                              //
           path.stretch(kEnd);
}

// False, as for every frame that is not written.
bool OKTWholeParameter::announce(OKTDbParameter const &parameter, OKTFiler &filer)
{
    if (!OktWantsLength(filer))
        return false;
    OKTFrameLength length;
    Given const given = givenOf(parameter, parameter.m_varValue);
    walk(length, given);
    OktAnnounceFrame(filer, length.bytes());
    return false;
}

bool OKTWholeParameter::write(OKTDbParameter const &parameter, OKTFiler &filer)
{
    if (numberRecordOf(parameter.m_varValue.vt) < 0)
        return announce(parameter, filer);
    tagVARIANT value = parameter.m_varValue;
    bool const isLength = OktIsLengthType(parameter.m_nParamType);
    if (isLength || parameter.m_nParamType == kQuantityExpression)
        if (double const factor = parameter.conversionFactor(); factor != 1.0)
        {
            if (!isLength)
                return announce(parameter, filer);
            value.dblVal /= factor; // eight bytes of a double, whatever the kind says (quirk 46)
        }
    Given const given = givenOf(parameter, value);
    if (given.name.size() + given.expression.size() + given.description.size() > OKTFrameWriter::kLongestText)
        return announce(parameter, filer);
    OKTFrameLength length;
    walk(length, given);
    OKTFrameWriter frame(filer, length.bytes());
    return frame ? walk(frame, given) : announce(parameter, filer);
}

OKTDbObject *OktMakeToRead(OKTRuntimeClass &descriptor, OktArena &arena)
{
    static_assert(alignof(OKTDbParameter) <= 8 && sizeof(OKTDbParameter) <= OktArena::kLargest);
    if (&descriptor == OKTDbParameter::desc())
        if (void *const memory = arena.take(sizeof(OKTDbParameter)))
            return ::new (memory) OKTDbParameter;
    return descriptor.CreateObject();
}

void OktLose(OKTDbObject *object)
{
    if (OktIsInArena(object))
        delete object;
}

void OKTWholeParameter::fetchTexts(OKTDbObject const *object)
{
    if (object == nullptr || typeid(*object) != typeid(OKTDbParameter))
        return;
    constexpr int kLine = 64;
    auto const &parameter = static_cast<OKTDbParameter const &>(*object);
    for (CString const *const text : {&parameter.m_strUserName, &parameter.m_strExpression, &parameter.m_strDescription})
    {
        OktFetch(text->Memory());
        OktFetch(static_cast<char const *>(text->Memory()) + kLine);
    }
    if (parameter.m_tabIdsParams.getSize() > 0)
        OktFetch(&*parameter.m_tabIdsParams.begin());
}

bool OKTWholeParameter::read(OKTDbParameter &parameter, OKTFiler &filer)
try
{
    // A value that is no number may own memory, which the plain path frees.
    if (parameter.m_varValue.vt != VT_EMPTY && numberRecordOf(parameter.m_varValue.vt) < 0)
        return false;
    OKTFrameReader frame(filer);
    Taken taken;
    taken.value = parameter.m_varValue; // a stored number sets some of its bytes
    if (frame.clearsVariants())
        std::memset(&taken.value, 0, sizeof taken.value);
    CString name;
    CString expression;
    CString description;
    if (!walk(frame, taken) || !frame.makeText(taken.name, name) || !frame.makeText(taken.expression, expression) ||
        !frame.makeText(taken.description, description))
        return false;
    frame.finish();
    parameter.setObjectId(frame.makeId(taken.id));
    parameter.m_strUserName = std::move(name);
    parameter.m_nParamType = taken.type;
    parameter.m_varValue = taken.value;
    parameter.m_varValue.vt = static_cast<VARTYPE>(taken.kind);
    parameter.m_nListIndex = taken.listIndex;
    parameter.m_idCategory = frame.makeId(taken.category);
    parameter.m_idOwner = frame.makeId(taken.owner);
    parameter.m_tabIdsParams = std::move(taken.ids);
    parameter.m_strExpression = std::move(expression);
    parameter.m_strDescription = std::move(description);
    return true;
}
catch (std::bad_alloc const &)
{
    OktNoteShortage();
    return false; // before anything changed: the plain path answers
}
