// SPDX-License-Identifier: MIT
#include <oktrebar/clientobjects.h>

#include <oktformat/failure.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktrebar/templategeometry.h>

#include <oktdatabase/oktdatabase.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace okt
{

namespace
{

constexpr char16_t kConstructClass[] = u"OKTDbConstruct";
constexpr char16_t kIndexClass[] = u"OKTDbIndexData";

/// Writes the frame of an object without an id, with one section of members.
template <typename F> bool writeFrame(OKTMemoryFiler &filer, CString const &className, F writeMembers)
{
    bool ok = filer.beginWriteClass(u"Object", className, 1);
    ok = filer.beginWriteClass(u"Object", u"OKTDbObject", 1) && filer.beginWriteMembers(1) && ok;
    ok = filer.writeObjectId(u"m_objectId", OKTDbObjectId()) && filer.endWriteMembers() && filer.endWriteClass() && ok;
    ok = filer.beginWriteMembers(1) && ok;
    ok = writeMembers() && ok;
    return filer.endWriteMembers() && filer.endWriteClass() && ok;
}

/// Makes an object from its frame, and puts it into the pool.
void addFromFrame(OKTDbPool &pool, CString const &className, CByteArray const &frame)
{
    OKTDbObject *made = nullptr;
    pool.CreateObjectFromClassName(className, made);
    std::unique_ptr<OKTDbObject> object(made);
    OKTMemoryFiler reader(&pool);
    reader.readInPlace(frame);
    bool taken = object != nullptr && object->xmlIn(&reader) == eFilerOk;
    // A class with fewer members skips the others and writes less.
    OKTMemoryFiler writer;
    taken = taken && object->xmlOut(&writer) == eFilerOk && writer.GetFilerLength() >= frame.GetSize();
    if (!taken || !pool.appendObject(object.get()))
        throw Failure(
            pool.poolName().ToUtf8(), "",
            sentence("the class {} of the loaded module does not take what a template has for it", quoted(className)));
    (void)object.release(); // the pool's
}

/// A stream holds metres, whatever the drawing unit is.
void addConstruct(OKTDbPool &pool, BarGeometry const &geometry)
{
    double const toMetres = 1 / pool.metricsFactor();
    OKTMemoryFiler filer;
    bool const written = writeFrame(filer, kConstructClass, [&] {
        bool ok = filer.writeDouble(u"m_dfDiameter", geometry.diameter * toMetres);
        ok = filer.writeInt(u"m_tabPoints.Length", static_cast<int>(geometry.corners.size())) && ok;
        for (Corner const &corner : geometry.corners)
        {
            OKTGeXYZ const &point = corner.point;
            OKTGeXYZ const metres(point.X() * toMetres, point.Y() * toMetres, point.Z() * toMetres);
            ok = filer.writePoint3d(u"m_tabPoints", metres) && ok;
            ok = filer.writeDouble(u"m_tabBendRadii", corner.bendRadius * toMetres) && ok;
        }
        return ok;
    });
    if (!written)
        throw Failure(pool.poolName().ToUtf8(), "", "the geometry of the template cannot be written");
    addFromFrame(pool, kConstructClass, filer.takeBytes());
}

/// The parts of the title of a template, split at commas, and its steel grade.
std::vector<std::string> keywordsOf(TemplatePlan const &plan)
{
    std::vector<std::string> keywords;
    std::string_view rest = plan.poolName;
    while (!rest.empty())
    {
        std::size_t const comma = rest.find(", ");
        keywords.emplace_back(rest.substr(0, comma));
        rest.remove_prefix(comma == std::string_view::npos ? rest.size() : comma + 2);
    }
    ParameterPlan const *const grade = plan.find({types::kSteelGrade, 0});
    if (auto const *const text = grade == nullptr ? nullptr : std::get_if<std::string>(&grade->value))
        keywords.push_back(*text);
    return keywords;
}

int countOf(OKTDbPool const &pool, OKTRuntimeClass *descriptor)
{
    IdArray ids;
    pool.collectEntities(descriptor, ids);
    return ids.getSize();
}

void addIndex(OKTDbPool &pool, TemplatePlan const &plan)
{
    std::vector<std::string> const keywords = keywordsOf(plan);
    OKTMemoryFiler filer;
    bool const written = writeFrame(filer, kIndexClass, [&] {
        bool ok = filer.writeString(u"m_strTitle", CString::FromUtf8(plan.poolName));
        ok = filer.writeInt(u"m_tabKeywords.Length", static_cast<int>(keywords.size())) && ok;
        for (std::string const &keyword : keywords)
            ok = filer.writeString(u"m_tabKeywords", CString::FromUtf8(keyword)) && ok;
        ok = filer.writeInt(u"m_nParameters", countOf(pool, OKTDbParameter::desc())) && ok;
        ok = filer.writeInt(u"m_nCategories", countOf(pool, OKTDbCategory::desc())) && ok;
        ok = filer.writeInt(u"m_nPictures", pool.picturesId().getSize()) && ok;
        return filer.writeString(u"m_strUnit", plan.units == Units::Millimetre ? u"mm" : u"in") && ok;
    });
    if (!written)
        throw Failure(pool.poolName().ToUtf8(), "", "the index of the template cannot be written");
    addFromFrame(pool, kIndexClass, filer.takeBytes());
}

} // namespace

void addClientObjects(OKTDbPool &pool, TemplatePlan const &plan)
{
    BarGeometry const geometry = geometryOf(plan);
    if (g_RuntimeClass.contains(kConstructClass) && !geometry.corners.empty())
        addConstruct(pool, geometry);
    if (g_RuntimeClass.contains(kIndexClass))
        addIndex(pool, plan);
}

} // namespace okt
