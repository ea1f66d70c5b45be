// SPDX-License-Identifier: MIT
#include <oktinspect/recover.h>

#include <oktinspect/recovery.h>
#include <oktinspect/recoverycheck.h>

#include <oktdatabase/oktshortage.h>

namespace okt
{

namespace
{

Recovered recoverWhole(ByteSource &source, std::function<void(std::string_view)> const &sink, RecoverOptions const &options)
{
    Recovery recovery(source, options.onProgress);
    Recovered result;
    result.header = recovery.headerPlace();
    if (!recovery.isNothing())
    {
        recovery.write(sink);
        result.check = checkRecovery(recovery, options.name, options.moduleOf, options.onProgress);
    }
    result.objects = recovery.objects();
    result.unknownObjects = recovery.unknownObjects();
    result.losses = recovery.losses();
    result.mends = recovery.mends();
    result.headerNotes = recovery.headerNotes();
    return result;
}

} // namespace

Recovered recover(ByteSource &source, std::function<void(std::string_view)> const &sink, RecoverOptions const &options)
{
    return OktWithMemory([&] { return recoverWhole(source, sink, options); });
}

} // namespace okt
