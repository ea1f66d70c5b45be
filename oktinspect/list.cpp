// SPDX-License-Identifier: MIT
#include <oktinspect/list.h>

#include <oktinspect/objectpass.h>
#include <oktinspect/textmatch.h>

#include <algorithm>

namespace okt
{

namespace
{

ListedObject listed(Stretch const &object)
{
    ListedObject entry{object.begin, object.size(), object.className(), {}, object.id, std::nullopt};
    for (std::size_t i = 1; i < object.classNames.size(); ++i)
        entry.bases.emplace_back(object.classNames[i].c_str());
    if (object.isOf(KnownClass::Parameter) || object.isOf(KnownClass::Category))
        entry.name = object.name;
    return entry;
}

} // namespace

void list(ByteSource &source, ListQuery const &query, ListOptions const &options)
{
    std::optional<TextPattern> className;
    std::optional<TextPattern> name;
    if (!query.className.empty())
        className.emplace(query.className);
    if (!query.name.empty())
        name.emplace(query.name);
    auto const isWanted = [&](Stretch const &object) {
        bool const isOfClass =
            !className || std::any_of(object.classNames.begin(), object.classNames.end(),
                                      [&](std::string const &each) { return className->matches(CString(each.c_str())); });
        return isOfClass && (!name || name->matches(object.name));
    };
    passObjects(
        source, findHeader(source), options.name, options.onProgress,
        [&](Stretch const &object) {
            if (options.onObject && isWanted(object))
                options.onObject(listed(object));
        },
        [&](Finding const &fault) {
            if (options.onFault)
                options.onFault(fault);
        });
}

} // namespace okt
