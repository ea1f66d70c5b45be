// SPDX-License-Identifier: MIT
#include <python/binding/poolfunctions.h>

#include <python/binding/failures.h>

#include <oktformat/bytesource.h>
#include <oktinspect/compare.h>
#include <oktinspect/findingtext.h>
#include <oktinspect/recover.h>
#include <oktinspect/verifier.h>

namespace okt::python
{

namespace
{

bool goesOnAt(Progress const &) { return goesOn(); }

py::object idObject(std::optional<_GUID> const &id) { return id ? uuidObject(*id) : py::object(py::none()); }

/// code, severity, offset, id, message.
py::tuple findingTuple(Finding const &finding)
{
    return py::make_tuple(utf8Object(codeName(finding.code)), utf8Object(severityName(finding.severity)), finding.offset,
                          idObject(finding.id), utf8Object(sentenceOf(finding)));
}

py::list findingList(std::vector<Finding> const &findings)
{
    py::list list;
    for (Finding const &finding : findings)
        list.append(findingTuple(finding));
    return list;
}

py::list verifyBytes(py::object data)
{
    CByteArray const bytes = bytesOf(data);
    Verification const found = soleWork([&bytes] {
        ByteSource source(bytes);
        VerifyOptions options;
        options.onProgress = &goesOnAt;
        return verify(source, options);
    });
    tellReports();
    return findingList(found.findings);
}

py::list lossList(std::vector<RecoveryLoss> const &losses)
{
    py::list list;
    for (RecoveryLoss const &loss : losses)
        list.append(py::make_tuple(findingTuple(loss.why), idObject(loss.object.id), textObject(loss.object.name), loss.begin,
                                   loss.end, loss.isObject));
    return list;
}

py::list remarkList(std::vector<RecoveryCheck::Remark> const &remarks)
{
    py::list list;
    for (RecoveryCheck::Remark const &remark : remarks)
        list.append(findingTuple(remark.finding));
    return list;
}

/// The bytes of the new file, or None where nothing is whole, and what was found.
py::tuple recoverBytes(py::object data)
{
    CByteArray const bytes = bytesOf(data);
    std::string made;
    Recovered const result = soleWork([&] {
        ByteSource source(bytes);
        RecoverOptions options;
        options.onProgress = &goesOnAt;
        return recover(
            source, [&made](std::string_view piece) { made += piece; }, options);
    });
    tellReports();
    py::dict facts;
    py::list objects;
    for (RecoveredObject const &object : result.objects)
        objects.append(py::make_tuple(idObject(object.id), object.begin, object.size, object.isKnown, object.isRemnant));
    facts["objects"] = objects;
    facts["losses"] = lossList(result.losses);
    facts["mends"] = findingList(result.mends);
    facts["notes"] = findingList(result.headerNotes);
    facts["doubts"] = remarkList(result.check.doubts);
    py::list missing;
    for (RecoveryCheck::MissingId const &one : result.check.missing)
        missing.append(uuidObject(one.id));
    facts["missing"] = missing;
    return py::make_tuple(result.isNothing() ? py::object(py::none()) : py::object(py::bytes(made)), facts);
}

py::tuple objectTuple(ComparedObject const &object)
{
    return py::make_tuple(utf8Object(object.className), utf8Object(object.name), idObject(object.id), object.begin,
                          object.size);
}

py::object textOrNone(std::optional<std::string> const &text) { return text ? utf8Object(*text) : py::object(py::none()); }

py::list memberList(std::vector<ComparedMember> const &members)
{
    py::list list;
    for (ComparedMember const &member : members)
        list.append(py::make_tuple(utf8Object(member.member), textOrNone(member.before), textOrNone(member.after)));
    return list;
}

py::list objectList(std::vector<ComparedObject> const &objects)
{
    py::list list;
    for (ComparedObject const &object : objects)
        list.append(objectTuple(object));
    return list;
}

py::dict compareBytes(py::object first, py::object second, bool byName, py::object firstName, py::object secondName)
{
    auto const left = first.cast<std::string>();
    auto const right = second.cast<std::string>();
    CompareOptions options;
    options.by = byName ? MatchBy::Name : MatchBy::Id;
    options.onProgress = &goesOnAt;
    options.firstName = utf8Of(firstName);
    options.secondName = utf8Of(secondName);
    Comparison const result = soleWork([&] { return compare(left, right, options); });
    tellReports();
    py::dict facts;
    facts["same"] = result.same;
    facts["added"] = objectList(result.added);
    facts["removed"] = objectList(result.removed);
    py::list changed;
    for (ComparedChange const &change : result.changed)
        changed.append(py::make_tuple(objectTuple(change.before), objectTuple(change.after), memberList(change.members)));
    facts["changed"] = changed;
    facts["header"] = memberList(result.header);
    facts["other_order"] = result.isOtherOrder;
    return facts;
}

} // namespace

void addInspection(py::module_ &module)
{
    module.def("verify_bytes", &verifyBytes);
    module.def("recover_bytes", &recoverBytes);
    module.def("compare_bytes", &compareBytes);
}

} // namespace okt::python
