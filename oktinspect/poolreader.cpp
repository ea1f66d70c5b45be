// SPDX-License-Identifier: MIT
#include <oktinspect/poolreader.h>

#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktformat/progress.h>
#include <oktformat/recordtype.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktinspect/findingtext.h>
#include <oktinspect/libraryread.h>
#include <oktinspect/objectread.h>
#include <oktinspect/picturetext.h>
#include <oktinspect/reportcollector.h>
#include <oktinspect/standin.h>

#include <oktdatabase/oktdatabase.h>
#include <oktdatabase/oktshortage.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <set>

namespace okt
{

namespace
{

/// The header into a pool of its own.
void readHeader(PoolFile &file, CByteArray const &bytes, OKTDbPool &header)
{
    header.setMetricsFactor(std::numeric_limits<double>::quiet_NaN());
    OKTMemoryFiler filer(&header);
    filer.loadFiler(bytes);
    if (!filer.readInt(CString(), file.headerSize))
        throw Failure(file.name, byteAt(0), "this is no pool file: it does not begin with the size of a header");
    int const start = static_cast<int>(filer.GetFilerPosition());
    Frame const frame = readFrame(bytes, start);
    if (frame.className.CompareNoCase(u"OKTDbPool") != 0)
        throw Failure(file.name, byteAt(start), "this is no pool file: the header of a pool is missing");
    if (frame.state == Frame::State::Cut)
        throw Failure(file.name, byteAt(bytes.GetSize()), "the file ends inside the header");
    if (frame.state == Frame::State::Damaged)
        throw Failure(file.name, byteAt(frame.offset + frame.size), "the header is damaged here");
    if (header.xmlIn(&filer, file.places) != eFilerOk)
        throw Failure(file.name, byteAt(start), "the header is damaged: its members are not those of a pool");
    if (!std::isnan(header.metricsFactor()))
        file.factor = header.metricsFactor();
    file.objectsStart = static_cast<int>(filer.GetFilerPosition());
}

CByteArray stretch(CByteArray const &bytes, Frame const &frame)
{
    CByteArray part;
    part.SetSize(frame.size);
    std::copy_n(bytes.GetData() + frame.offset, frame.size, part.GetData());
    return part;
}

/// Tries every object of a file on its own, and remembers those that a pool will take.
class ObjectSieve
{
public:
    ObjectSieve(PoolFile &file, CByteArray const &bytes, ReportCollector const &collector, OnProgress const &onProgress)
        : m_file(file), m_bytes(bytes), m_collector(collector), m_onProgress(onProgress)
    {
    }

    void run()
    {
        ProgressStep progress(m_onProgress, printable(m_file.name), static_cast<std::uintmax_t>(m_file.size));
        std::uintmax_t objects = 0;
        for (Frame const &frame : m_file.frames)
        {
            progress.at(static_cast<std::uintmax_t>(frame.offset), ++objects);
            if (take(frame))
                m_good.push_back(&frame);
        }
        tellModules();
    }

    std::vector<Frame const *> const &good() const { return m_good; }

private:
    /// Which modules the file needs, and has.
    void tellModules()
    {
        for (Frame const &frame : m_file.frames)
        {
            if (frame.state != Frame::State::Whole || frame.className.IsEmpty())
                continue;
            if (!isRegistered(frame.className))
                tellMissing(frame);
            else if (Module const *const found = modules().foundFor(frame.className))
                tellUsed(*found, frame.className);
        }
    }

    void tellMissing(Frame const &frame)
    {
        auto const [place, isFirst] = m_missing.emplace(frame.className, m_file.missing.size());
        if (isFirst)
            m_file.missing.push_back({frame.className, 0, frame.offset, m_answers[frame.className]});
        ++m_file.missing[place->second].objects;
    }

    void tellUsed(Module const &module, CString const &className)
    {
        auto const isSame = [&module](UsedModule const &used) { return used.file == module.file; };
        auto found = std::find_if(m_file.modules.begin(), m_file.modules.end(), isSame);
        if (found == m_file.modules.end())
            found = m_file.modules.insert(found, {module.file, module.origin, {}});
        found->classes.insert(className.ToUtf8());
    }

    void note(int position, std::string const &reason)
    {
        if (m_file.fault.empty())
            m_file.fault = Failure(m_file.name, byteAt(position), reason).what();
    }

    bool refuse(Frame const &frame, int position, std::string const &reason, std::string const &listed)
    {
        note(position, reason);
        m_file.unread.push_back({frame, listed});
        return false;
    }

    bool take(Frame const &frame)
    {
        std::string const object = sentence("{} that begins at {}", withArticle(frame.className), byteAt(frame.offset));
        if (frame.state == Frame::State::Cut)
            return refuse(frame, m_bytes.GetSize(), "the file ends inside " + object, "cut off");
        if (frame.state == Frame::State::Damaged)
            return refuse(frame, frame.offset + frame.size, "damaged inside " + object, "damaged");
        // A load searches for the begin of a frame behind the end of another.
        if (m_bytes[frame.offset - 1] != static_cast<BYTE>(RecordType::FrameEnd))
            note(frame.offset, sentence("a load does not find {} that begins here: no end of a frame stands in front of it",
                                        withArticle(frame.className)));
        return isKnown(frame) && isReadable(frame);
    }

    /// False: no object of the class can be made, not even a stand-in.
    bool isKnown(Frame const &frame)
    {
        if (frame.className.IsEmpty())
            return refuse(frame, frame.offset, "an object of a class without a name", "a class without a name");
        if (isRegistered(frame.className))
            return true;
        if (!m_answers.contains(frame.className))
            m_answers[frame.className] = modules().find(frame.className);
        if (isRegistered(frame.className))
            return true;
        if (StandIn::registerClass(frame.className, frame.bases))
            return true;
        m_file.unread.push_back({frame, "a class that needs a client module"});
        return false;
    }

    ReadObject readObject(Frame const &frame) { return readAlone(stretch(m_bytes, frame), frame.className); }

    /// Another module may have a class of the same name. What a module that nobody named does not read is not its own: all objects
    /// of the class are stand-ins then.
    ReadObject readByFound(Frame const &frame, Module const &module)
    {
        std::size_t const reported = m_collector.reports().size();
        ReadObject read = readObject(frame);
        bool const isReported = m_collector.forgetBehind(reported);
        if ((read.fault.isNone() && !isReported) || !StandIn::replaceClass(frame.className, frame.bases))
            return read;
        m_answers[frame.className] = {ModuleAnswer::Kind::Other, module.file, module.origin, {}};
        return readObject(frame);
    }

    bool isReadable(Frame const &frame)
    {
        Module const *const found = StandIn::isRegistered(frame.className) ? nullptr : modules().foundFor(frame.className);
        ReadObject const read = found == nullptr ? readObject(frame) : readByFound(frame, *found);
        if (!read.fault.isNone())
            return refuse(frame, frame.offset, sentenceOf(*libraryFinding(read.fault, frame.offset, frame.className)),
                          read.fault.kind == ReadFault::Kind::Members ? "members that are not those of its class"
                                                                      : "an object inside it");
        if (!m_ids.insert(read.object->objectId()).second)
            return refuse(frame, frame.offset,
                          sentence("the id {} of this object is in the file already",
                                   printable(read.object->objectId().getGuidAsString(false))),
                          "an id that is in the file already");
        if (OKTDbPicture::cast(read.object.get()) != nullptr)
            checkPicture(frame);
        return true;
    }

    /// A picture with a damaged text is read all the same, as the library does.
    void checkPicture(Frame const &frame)
    {
        if (std::string const fault = pictureTextFault(stretch(m_bytes, frame)); !fault.empty())
            note(frame.offset,
                 sentence("the text of the {} that begins here is damaged: {}", printable(frame.className), fault));
    }

    PoolFile &m_file;
    CByteArray const &m_bytes;
    ReportCollector const &m_collector;
    OnProgress const &m_onProgress;
    std::map<CString, ModuleAnswer> m_answers; ///< for classes that are not read by a module
    std::map<CString, std::size_t> m_missing;  ///< the place of each class among those that are told
    std::set<OKTDbObjectId> m_ids;
    std::vector<Frame const *> m_good;
};

/// An image of the header, which states the factor that lengths are to be read under, and of the objects that can be read.
CByteArray imageOf(OKTDbPool const &header, PoolFile const &file, CByteArray const &bytes,
                   std::vector<Frame const *> const &objects)
{
    OKTMemoryFiler headerFiler;
    header.xmlOut(&headerFiler, file.places);
    CByteArray headerBytes;
    headerFiler.saveFiler(headerBytes);
    OKTMemoryFiler lengthFiler;
    lengthFiler.writeInt(CString(), headerBytes.GetSize());
    CByteArray image;
    lengthFiler.saveFiler(image);
    image.Append(headerBytes);
    for (Frame const *const object : objects)
        std::copy_n(bytes.GetData() + object->offset, object->size, image.Extend(object->size));
    return image;
}

/// A load stopped although every object can be read on its own: the one behind the last object read leads it astray.
void noteStop(PoolFile &file)
{
    std::size_t const stop = static_cast<std::size_t>(file.pool->objectCount());
    for (std::size_t i = stop; i < file.frames.size(); ++i)
        file.unread.push_back({file.frames[i], "reading stopped"});
    std::string const place = stop < file.frames.size() ? byteAt(file.frames[stop].offset) : byteAt(file.size);
    file.fault = Failure(file.name, place, "damaged: reading stops here").what();
}

PoolFile readWhole(std::filesystem::path const &path, double metricsFactor, std::string const &name,
                   OnProgress const &onProgress)
{
    ReportCollector const collector;
    StandIn::stepAside();
    CByteArray const bytes = readBytes(path, onProgress);
    PoolFile file;
    file.name = name.empty() ? pathName(path) : name;
    file.size = bytes.GetSize();
    if (file.size == 0)
        throw Failure(file.name, "", "the file is empty");
    OKTDbPool header;
    readHeader(file, bytes, header);
    {
        ProgressStep const step =
            ProgressStep::uncounted(onProgress, printable(file.name), static_cast<std::uint64_t>(file.size));
        file.frames = readFrames(bytes, file.objectsStart);
    }
    ObjectSieve sieve(file, bytes, collector, onProgress);
    sieve.run();

    ProgressStep const step = ProgressStep::uncounted(onProgress, printable(file.name), static_cast<std::uint64_t>(file.size));
    file.pool = std::make_unique<OKTDbPool>();
    file.pool->setMetricsFactor(metricsFactor);
    if (file.unread.empty() && file.fault.empty())
    {
        if (!file.pool->readFile(pathText(path)))
            noteStop(file);
    }
    else
    {
        // A load of the file itself would stop at what cannot be read, and lose the objects behind it.
        header.setMetricsFactor(metricsFactor);
        if (!file.pool->loadFiler(imageOf(header, file, bytes, sieve.good())))
            file.fault = (file.fault.empty() ? Failure(file.name, "", "damaged").what() : file.fault) +
                         "; what is whole in it cannot be read either";
    }
    if (file.fault.empty() && !collector.reports().empty())
        file.fault = Failure(file.name, "", "an object could not be read whole: " + collector.reports()).what();
    return file;
}

} // namespace

PoolFile readPool(std::filesystem::path const &path, double metricsFactor, std::string const &name,
                  OnProgress const &onProgress)
{
    return OktWithMemory([&] { return readWhole(path, metricsFactor, name, onProgress); });
}

} // namespace okt
