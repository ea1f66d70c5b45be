// SPDX-License-Identifier: MIT
#include <oktinspect/partialfile.h>

#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktinspect/objectread.h>
#include <oktinspect/reportcollector.h>

#include <oktdatabase/oktdatabase.h>
#include <oktdatabase/oktshortage.h>

namespace okt
{

namespace
{

// The library reads this many bytes first, and refuses a shorter file.
constexpr std::uintmax_t kProbeSize = 1024;

} // namespace

PartialFile::PartialFile(std::filesystem::path const &path, std::string const &name)
    : m_path(path), m_name(name.empty() ? pathName(path) : name), m_size(readableLength(path))
{
    if (m_size == 0)
        throw Failure(m_name, "", "the file is empty");
    if (m_size < kProbeSize)
        throw Failure(m_name, "",
                      sentence("a file of {} cannot be read in part, only one of {} or more; okt show without --index and "
                               "--preview reads it whole",
                               plural(static_cast<std::int64_t>(m_size), "byte"), kProbeSize));
    ReportCollector const collector;
    if (!OktWithMemory([&] { return m_pool.readFileHeader(pathText(path), m_places); }))
        throw Failure(m_name, "", "no header can be read: this is no pool file, or its header is damaged");
    m_pool.setMetricsFactor(1.0);
}

std::string PartialFile::faultAt(int position, std::string const &reason) const
{
    return Failure(m_name, position < 0 ? "" : byteAt(position), reason).what();
}

LoneObject PartialFile::read(OKTDbObjectId const &id, std::string const &what)
{
    return OktWithMemory([&] { return readWhole(id, what); });
}

LoneObject PartialFile::readWhole(OKTDbObjectId const &id, std::string const &what)
{
    LoneObject lone;
    OKTDbPool::_ObjectInfo const *const place = m_places.find(id);
    // An id without an object has the size -1.
    if (id.isNull() || place == nullptr || place->nObjectSize < 0)
        return lone;
    lone.position = place->nObjectPosition;
    lone.size = place->nObjectSize;
    ReportCollector const collector;
    if (lone.position < 0 || !OKTMemoryFiler::loadFiler(pathText(m_path), lone.bytes, lone.position, lone.size))
    {
        lone.fault = faultAt(-1, sentence("the header places {} at byte {}, {} long, which is not inside the file", what,
                                          lone.position, plural(lone.size, "byte")));
        return lone;
    }
    lone.frame = readFrame(lone.bytes, 0);
    if (lone.frame.state != Frame::State::Whole || !lone.frame.id)
        lone.fault = faultAt(lone.position, sentence("no whole object is here, although the header places {} here", what));
    else if (OKTDbObjectId found; found.setGuid(*lone.frame.id), found != id)
        lone.fault = faultAt(lone.position, sentence("another object is here, {} {}, although the header places {} {} here",
                                                     printable(lone.frame.className), printable(found.getGuidAsString(false)),
                                                     what, printable(id.getGuidAsString(false))));
    else
        readObject(lone, collector);
    if (lone.fault.empty() && !collector.reports().empty())
        lone.fault = faultAt(lone.position, "the object could not be read whole: " + collector.reports());
    return lone;
}

void PartialFile::readObject(LoneObject &lone, ReportCollector const &collector)
{
    CString const &className = lone.frame.className;
    if (!isRegistered(className))
    {
        ModuleAnswer const &answer = modules().find(className);
        if (!isRegistered(className))
        {
            lone.missing = answer;
            return;
        }
    }
    Module const *const found = modules().foundFor(className);
    OKTDbObject *made = nullptr;
    m_pool.CreateObjectFromClassName(className, made);
    lone.object.reset(made);
    OKTMemoryFiler filer(&m_pool);
    filer.readInPlace(lone.bytes);
    bool const isRead = made != nullptr && made->xmlIn(&filer) == eFilerOk;
    if (found != nullptr && (!isRead || collector.forgetBehind(0)))
    {
        // Another module may have a class of the same name.
        lone.object.reset();
        lone.missing = ModuleAnswer{ModuleAnswer::Kind::Other, found->file, found->origin, {}};
        return;
    }
    lone.module = found;
    if (isRead)
        return;
    lone.object.reset();
    lone.fault =
        faultAt(lone.position, sentence("damaged: the members of this {} are not those of its class", printable(className)));
}

} // namespace okt
