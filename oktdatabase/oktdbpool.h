// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktcontainers.h>
#include <oktdatabase/oktdbobjectid.h>
#include <oktdatabase/oktfilerstatus.h>
#include <oktplatform/oktarrays.h>
#include <oktplatform/oktstring.h>

#include <cstdint>
#include <set>
#include <utility>

class OKTDbObject;
class OKTFiler;
class OKTIdReplacements;
class OKTImageFiler;
class OKTImageRoom;
class OKTMemoryFiler;
class OKTRuntimeClass;
class OktArena;

/// The database: one set of objects keyed by id, a few well-known ids that name objects of special role, and the settings of
/// its filing.
///
///     OKTDbPool pool;
///     pool.setMetricsFactor(1000.0); // drawing unit millimetre, files hold metres
///     auto *cover = new OKTDbParameter(6, pool.objectId());
///     cover->setValue(35.0, 0);
///     pool.appendObject(cover);
///     bool const saved = pool.writeFile(L"template.okt");
///
/// The pool owns its objects from appendObject, or a load, on. eraseAllObjects and the destructor delete them; removeObject and
/// removeAllObjects hand them back undeleted. One thread at a time. Every operation answers false, without a report, when it
/// fails; an exception inside is reported and gives false.
///
/// A copy of a pool shares the objects, and the first pool destroyed deletes them: clone and copyFrom are the ways to copy.
class OKT_API OKTDbPool
{
public:
    /// Where an object stands in a pool file, in bytes. The position counts from the start of the objects block, after
    /// readFileHeader from the start of the file. Both are -1 for an id without an object.
    struct _ObjectInfo
    {
        std::int32_t nObjectPosition;
        std::int32_t nObjectSize;
    };
    using InfoMap = OKTMap<OKTDbObjectId, _ObjectInfo, OKTDbObjectId const &, _ObjectInfo const &>;
    using ReadFilter = OKTArray<OKTRuntimeClass *, OKTRuntimeClass *const &>;

    /// An empty pool with a fresh id and the metrics factor 1.
    OKTDbPool();
    OKTDbPool(OKTDbPool const &) = default;
    OKTDbPool &operator=(OKTDbPool const &) = default;
    virtual ~OKTDbPool();

    /// The id and the name of the pool, which its file holds. The name is copied.
    void setObjectId(OKTDbObjectId const &id) { m_objectId = id; }
    OKTDbObjectId objectId() const { return m_objectId; }
    void setPoolName(CString const &name);
    CString poolName() const { return m_strPoolName; }
    /// Drawing units per metre: 1000 for the millimetre, 39.3700787... for the inch. A file holds metres.
    void setMetricsFactor(double factor) { m_dfMetricsFactor = factor; }
    /// 1.0 for a null pool pointer, which parameters outside a pool have. A caller that is built with a check for null pointers
    /// asks metricsFactorOf.
    double metricsFactor() const;
    static double metricsFactorOf(OKTDbPool const *pool);

    /// The well-known ids. constructId, indexId and picturesId follow the objects of the classes "OKTDbConstruct",
    /// "OKTDbIndexData" and "OKTDbPicture"; the others are set by the caller or by a file. While id translation is on, all
    /// getters but RadialReinfId give the translated id; one that the map does not hold comes back as it is.
    void setConstructId(OKTDbObjectId const &id) { m_constructId = id; }
    void setSketchId(OKTDbObjectId const &id) { m_sketchId = id; }
    void setIndexId(OKTDbObjectId const &id) { m_indexId = id; }
    void setPPActionsId(OKTDbObjectId const &id) { m_ppActionsId = id; }
    void setRadialReinfId(OKTDbObjectId const &id) { m_radialReinfId = id; }
    void setPicturesIds(IdArray const &ids);
    OKTDbObjectId constructId() const;
    OKTDbObjectId sketchId() const;
    OKTDbObjectId indexId() const;
    OKTDbObjectId ppActionsId() const;
    OKTDbObjectId RadialReinfId() const { return m_radialReinfId; }
    IdArray picturesId() const;

    /// Whether ids are translated through the map of old to new ids while objects are written and read.
    void setBoolTranslatedIds(bool on) { m_bTranslatedIds = on; }
    bool BoolTranslatedIds() const { return m_bTranslatedIds; }
    void setMapTranslatedIds(IdMap map) { m_mapTranslatedIds = std::move(map); }
    IdMap MapTranslatedIds() const;
    /// Gives every key of the map a fresh id of this pool.
    void RearangeMapTranslatedIds();

    /// The number of objects.
    int objectCount() const { return m_mapObjects.getSize(); }
    /// Takes the object over under a fresh id, whatever id it carried. False, and the object stays the caller's: null, or its
    /// id is in this pool.
    bool appendObject(OKTDbObject *object);
    /// Hands the object back, undeleted and with a null id. Removing any construct or index object clears constructId or
    /// indexId, even when that names another one (quirk 9).
    bool removeObject(OKTDbObjectId const &id);
    bool removeObject(OKTDbObject *object);
    /// Hands all objects back. False at the first null entry, with the rest still in the pool.
    bool removeAllObjects();
    /// Deletes all objects and clears the ids that follow them. On an empty pool nothing is cleared (quirk 12).
    bool eraseAllObjects();
    /// Puts another object under an id of the pool. The caller owns the old one, whose id stays, and must have set the id of
    /// the new one (quirk 13).
    bool replaceObject(OKTDbObjectId const &id, OKTDbObject *object);
    /// False, and `object` untouched, for an id that the pool does not hold.
    bool findObject(OKTDbObjectId const &id, OKTDbObject *&object);
    /// The id at that position in id order; a null id outside 0 to objectCount() - 1.
    OKTDbObjectId objectAt(int position) const;
    /// The ids of all objects, in id order.
    void getAllObjects(IdArray &ids) const;
    /// The ids of all objects of the class or of a class derived from it; of all objects for a null descriptor.
    bool collectEntities(OKTRuntimeClass *descriptor, IdArray &ids) const;
    /// A new object by exact class name, owned by the caller and in no pool. False, and `object` untouched, for an unknown name.
    bool CreateObjectFromClassName(CString className, OKTDbObject *&object);
    /// Sets the object back to what a new object of its class holds. It keeps its address and its id.
    bool resetObject(OKTDbObjectId const &id);

    /// The image in memory, with the pool's real metrics factor. `translated` receives the ids translated on the way. False: an
    /// object or the header cannot be written, or the image would pass 2^31 - 1 bytes; `image` is empty then.
    bool saveFiler(CByteArray &image, IdMap &translated) const;
    /// Adds the objects of an image to this pool, which is not emptied first; the header's fields replace its own. False: no
    /// length record, a broken header, an unknown class, a broken object, or an id that is here already. What was read before
    /// stays; the object at fault is lost (quirk 18). An object that the read filter drops is deleted. The image is read where
    /// it lies: no object may change it while it reads itself.
    bool loadFiler(CByteArray const &image);
    /// The image as a file, which says factor 1.0: files hold metres. False: an empty path, no image, or the file cannot be
    /// written; the file is not touched before the image is complete.
    bool writeFile(CString const &path);
    /// loadFiler from a file, save that the pool keeps its metrics factor.
    bool readFile(CString const &path);

    /// The classes whose objects a load keeps, derived classes included, as descriptors that are not owned; empty keeps all. A
    /// filter of nulls keeps nothing.
    void setReadFilter(ReadFilter filter) { m_readFilter = std::move(filter); }
    ReadFilter readFilter() const;
    /// Reads only the header of a file: 1024 bytes, then the header itself. `info` receives the places of the construct, the
    /// index and the pictures. A file below 1024 bytes is refused (quirk 23). The factor of the file replaces the pool's.
    bool readFileHeader(CString const &path, InfoMap &info);
    /// Header and index object. In a file that names none, the first object of the file is read in its place (quirk 24).
    bool readIndex(CString const &path);
    /// Header and pictures.
    bool readFilePicture(CString const &path);

    /// Adds a copy of the other pool's objects, with their ids; takes its id and factor over.
    bool copyFrom(OKTDbPool const *other);
    /// A new pool, owned by the caller, or null. With translation on, every object gets a new id, references between objects of
    /// the pool follow, and MapTranslatedIds of the clone tells old to new.
    OKTDbPool *clone() const;

    /// The pool as an XML document: its objects, then its own fields, with the real factor. Always false, since no id passes
    /// the XML filer (quirk 72); the document is written all the same.
    bool writeXMLFile(CString const &path);
    /// The objects and fields of a document. Goes on behind an object of an unknown class; false as soon as one object fails,
    /// and so for every document with an object of a known class (quirk 72). The read filter is not asked.
    bool readXMLFile(CString const &path);

    /// The header block alone. `info` holds the places that are written, and receives those that are read.
    FilerStatusDb xmlOut(OKTFiler *filer, InfoMap const &info) const;
    FilerStatusDb xmlIn(OKTFiler *filer, InfoMap &info);

private:
    friend class OKTMemoryFiler; // takes the map of translated ids, and must know when it could not
    friend class OKTImageRoom;
    friend class OKTWindowedRead;
    friend class OktFileImage; // for oktdurablesave: makes the image that writeFile writes

    /// The pictures in their order, with a set beside the list, so that asking for one of many is cheap.
    class PictureList
    {
    public:
        IdArray const &ids() const { return m_ids; }
        bool contains(OKTDbObjectId const &id) const { return m_known.contains(id); }
        void append(OKTDbObjectId const &id);
        void remove(OKTDbObjectId const &id);
        void removeAll();
        void assign(IdArray const &ids);

    private:
        IdArray m_ids;
        std::set<OKTDbObjectId> m_known;
    };

    /// How long the frames of the objects are, in bytes, as long as no object has come or gone; below 0: unknown. The next image is
    /// about as long.
    struct KnownFrames
    {
        std::int64_t first = -1;
        std::int64_t rest = -1;
        std::uint64_t changes = 0;
    };

    /// The frames of objects that a load has met.
    struct ObjectsRead
    {
        void note(std::int64_t size);

        int frames = 0;
        std::int64_t first = 0; // bytes of the first ones
        std::int64_t bytes = 0;
    };

    bool adoptObject(OKTDbObject *object, OKTDbObjectId const &id);
    bool appendReadObject(OKTDbObject *object);
    std::set<OKTDbObjectId> specialIds() const;
    void noteFrames(KnownFrames const &frames) const;
    bool makeImage(CByteArray &image, IdMap &translated, OKTIdReplacements *replacements, bool isTranslating) const;
    bool makeImageWithNewIds(OKTDbPool &owner, CByteArray &image, IdMap &newIds, OKTIdReplacements &replacements,
                             bool &isRefused) const;
    OKTDbPool *cloneWithNewIds(bool &isRefused) const;
    bool hasTranslation(OKTMemoryFiler const &filer) const;
    bool loadThrough(OKTImageFiler &stream, CByteArray const &image, OKTIdReplacements *replacements);
    bool loadObjects(OKTImageFiler &stream, OktArena &arena, int objectsStart, OKTIdReplacements *replacements,
                     ObjectsRead &read);
    bool takeRead(OKTDbObject *object, bool isFiltering, OktArena &arena);
    static bool readObject(OKTMemoryFiler &filer, OKTDbObject *object);
    bool readObjectAlone(CString const &path, OKTDbObjectId const &id, InfoMap const &info);
    bool skipObjectByReadFilter(OKTDbObject *object) const;
    void noteSpecialObject(OKTDbObject const *object, OKTDbObjectId const &id);
    void forgetSpecialObject(OKTDbObject const *object, OKTDbObjectId const &id);
    OKTDbObjectId translatedId(OKTDbObjectId const &id) const;

    OKTDbObjectId m_objectId;
    ObjectMap m_mapObjects;
    CString m_strPoolName;
    OKTDbObjectId m_constructId;
    OKTDbObjectId m_sketchId;
    OKTDbObjectId m_indexId;
    OKTDbObjectId m_ppActionsId;
    OKTDbObjectId m_radialReinfId;
    PictureList m_tabPictures;
    double m_dfMetricsFactor = 1.0;
    bool m_bFileScope = false;
    IdMap m_mapTranslatedIds;
    bool m_bTranslatedIds = false;
    ReadFilter m_readFilter;
    bool m_hasClientObjects = false; // there are, or were, objects whose class is not one of this library's
    mutable KnownFrames m_knownFrames;
    std::uint64_t m_changes = 0; // raised when an object comes, goes or is replaced, and when the list of pictures is set
};

using InfoMap = OKTDbPool::InfoMap;
