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

HalfWritten::HalfWritten(std::string path) : m_slot(takeSlot())
{
    m_slot->text = std::move(path);
    m_slot->path = m_slot->text.c_str();
}

HalfWritten::~HalfWritten() { m_slot->path = nullptr; }

void forEachHalfWritten(void (*act)(char const *path))
{
    for (HalfWritten::Slot *slot = g_slots; slot != nullptr; slot = slot->next)
        if (char const *const path = slot->path)
            act(path);
}

} // namespace okt
