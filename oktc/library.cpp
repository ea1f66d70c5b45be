// SPDX-License-Identifier: MIT
#include <oktc/handles.h>
#include <oktc/texts.h>

#include <okttext/oktnotation.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>

// The library itself, and ids as texts.

using namespace oktc;

uint32_t OKTC_CALL oktcVersion(void) { return OKTC_VERSION; }

char const *OKTC_CALL oktcStatusName(OktcStatus status)
{
    static constexpr char const *kNames[] = {"ok",
                                             "null argument",
                                             "bad argument",
                                             "bad handle",
                                             "closed",
                                             "gone",
                                             "busy",
                                             "out of memory",
                                             "not found",
                                             "wrong class",
                                             "wrong kind",
                                             "bad text",
                                             "lone surrogate",
                                             "file refused",
                                             "damaged",
                                             "unknown class",
                                             "not storable",
                                             "too large",
                                             "cancelled",
                                             "not flushed",
                                             "nothing to rescue",
                                             "failed"};
    static_assert(std::size(kNames) == OKTC_FAILED + 1);
    return status < 0 || status > OKTC_FAILED ? "unknown status" : kNames[status];
}

OktcStatus OKTC_CALL oktcIdToText(uint8_t const id[16], char **text, uint64_t *length)
{
    return call<Unlocked>(Results(text, length), [&] {
        needed(id, "the id");
        oktc::give(okttext::guidText(std::string_view(reinterpret_cast<char const *>(id), 16)), text, length);
    });
}

OktcStatus OKTC_CALL oktcIdFromText(char const *text, int64_t length, uint8_t id[16])
{
    return call<Unlocked>(Results::ofId(id), [&] {
        std::optional<std::string> const bytes = okttext::parseGuid(utf8(text, length));
        if (!bytes)
            refuse(OKTC_BAD_TEXT, "this is no id: {56069AD3-841A-4FC4-B6D9-6A2ABEC4A0D8} is one");
        std::copy(bytes->begin(), bytes->end(), reinterpret_cast<char *>(id));
    });
}
