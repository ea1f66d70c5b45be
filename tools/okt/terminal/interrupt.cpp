// SPDX-License-Identifier: MIT
#include <tools/okt/terminal/interrupt.h>

#include <utility>

namespace okt
{

/// A list that only grows, with atomic links, so that a signal handler can read it at any time.
struct HalfWritten::Slot
{
    std::atomic<char const *> path = nullptr; ///< null: free
    std::string text;
    Kind kind = Kind::File;
    Slot *next = nullptr;
};

namespace
{

std::atomic<HalfWritten::Slot *> g_slots = nullptr;

HalfWritten::Slot *takeSlot()
{
    for (HalfWritten::Slot *slot = g_slots; slot != nullptr; slot = slot->next)
        if (slot->path == nullptr)
            return slot;
    auto *const slot = new HalfWritten::Slot; // for the rest of the process
    slot->next = g_slots;
    g_slots = slot;
    return slot;
}

} // namespace

HalfWritten::HalfWritten(std::string path, Kind kind) : m_slot(takeSlot())
{
    InterruptHold const hold;
    m_slot->text = std::move(path);
    m_slot->kind = kind;
    m_slot->path = m_slot->text.c_str();
}

HalfWritten::~HalfWritten()
{
    InterruptHold const hold;
    m_slot->path = nullptr;
}

void removeHalfWritten(bool (*removeFile)(char const *path), bool (*removeFolder)(char const *path))
{
    // A name that is given up may be somebody else's at once, so that it is removed once.
    for (HalfWritten::Slot *slot = g_slots; slot != nullptr; slot = slot->next)
        if (char const *const path = slot->kind == HalfWritten::Kind::File ? slot->path.exchange(nullptr) : nullptr)
            removeFile(path);
    // Inner ones stand anywhere.
    for (bool isAnyGone = true; isAnyGone;)
    {
        isAnyGone = false;
        for (HalfWritten::Slot *slot = g_slots; slot != nullptr; slot = slot->next)
            if (char const *const path = slot->path; path != nullptr && removeFolder(path))
            {
                slot->path = nullptr;
                isAnyGone = true;
            }
    }
}

} // namespace okt
