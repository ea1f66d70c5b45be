// SPDX-License-Identifier: MIT
#include <oktdatabase/oktdbpool.h>

#include <oktdatabase/oktcrashhandler.h>

#include <memory>
#include <utility>

// Copies of a pool, and the map of translated ids by which a copy gets new ones.

IdMap OKTDbPool::MapTranslatedIds() const
try
{
    return m_mapTranslatedIds;
}
OKT_ANSWER_ZERO

bool OKTDbPool::copyFrom(OKTDbPool const *other)
try
{
    CByteArray image;
    IdMap translated;
    return other != nullptr && other->saveFiler(image, translated) && loadFiler(image);
}
OKT_ANSWER_ZERO

OKTDbPool *OKTDbPool::clone() const
try
{
    bool isRefused = false;
    bool const isTranslating = m_bTranslatedIds; // an object of a client module may switch it while it is written
    if (isTranslating)
        if (OKTDbPool *const quick = cloneWithNewIds(isRefused); quick != nullptr || isRefused)
            return quick;
    // Step 1: save. With translation on, the filers note every valid id that is written.
    CByteArray image;
    IdMap translated;
    if (!makeImage(image, translated, nullptr, isTranslating))
        return nullptr;
    // Step 2: each of them gets a fresh id of the new pool.
    auto copy = std::make_unique<OKTDbPool>();
    copy->setBoolTranslatedIds(m_bTranslatedIds);
    copy->setMapTranslatedIds(std::move(translated));
    copy->RearangeMapTranslatedIds();
    // Step 3: load. Every id that the map holds is replaced as it is read.
    bool const loaded = copy->loadFiler(image);
    copy->setBoolTranslatedIds(false);
    return loaded ? copy.release() : nullptr;
}
OKT_ANSWER_ZERO

void OKTDbPool::RearangeMapTranslatedIds()
try
{
    for (auto &[id, translated] : m_mapTranslatedIds)
        translated = OKTDbObjectId::createObjectId(this);
}
OKT_ANSWER_NOTHING
