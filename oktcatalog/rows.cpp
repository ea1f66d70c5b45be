// SPDX-License-Identifier: MIT
#include <oktcatalog/rows.h>

#include <oktformat/guids.h>
#include <oktformat/imageformat.h>
#include <oktformat/poolheader.h>
#include <oktformat/text.h>
#include <oktinspect/findingtext.h>
#include <oktinspect/picturetext.h>
#include <oktinspect/verifier.h>
#include <oktrebar/expressions.h>

#include <oktdatabase/oktdbparameter.h>
#include <oktdatabase/okttools.h>

#include <algorithm>
#include <cmath>
#include <unordered_map>

namespace okt
{

namespace
{

void addLine(std::string &lines, std::string_view line)
{
    if (line.empty())
        return;
    if (!lines.empty())
        lines += '\n';
    lines += line;
}

/// A number as a store keeps it: without a sign of zero, and only where it is one.
std::optional<double> storedNumber(std::optional<double> number)
{
    if (!number || std::isnan(*number))
        return std::nullopt;
    return *number == 0 ? 0 : *number;
}

ParameterRow rowOf(StoredParameter const &parameter, std::string const &typeName)
{
    ParameterRow row;
    row.id = parameter.id;
    row.category = parameter.category;
    row.owner = parameter.owner;
    row.name = parameter.name;
    row.type = parameter.type;
    row.typeName = typeName;
    row.listIndex = parameter.listIndex;
    if (parameter.listIndex != 0)
        row.listCode = OKTDbParameter::encodeListIndex(parameter.listIndex).ToUtf8();
    row.kind = parameter.kind;
    row.number = storedNumber(parameter.number());
    if (bool const *const truth = std::get_if<bool>(&parameter.value))
        row.number = *truth ? 1 : 0;
    if (std::string const *const text = std::get_if<std::string>(&parameter.value))
        row.text = *text;
    row.isLength = parameter.isLength();
    row.expression = parameter.expression;
    row.description = parameter.description;
    return row;
}

ParameterValue valueOf(ParameterRow const &row)
{
    if (row.text)
        return *row.text;
    if (!row.number)
        return {};
    if (row.kind == VT_BOOL)
        return *row.number != 0;
    if (row.kind == VT_I2 || row.kind == VT_I4)
        return static_cast<std::int32_t>(*row.number);
    return *row.number;
}

class Rows
{
public:
    Rows(ByteSource &source, PoolRows &rows) : m_source(source), m_pool(readTemplate(source)), m_rows(rows) {}

    void make()
    {
        m_rows.state = m_pool.header.isWhole ||
                               m_pool.parameters.size() + m_pool.categories.size() + m_pool.groups.size() +
                                       m_pool.relations.size() + m_pool.pictures.size() + m_pool.others.size() >
                                   0 ||
                               (m_source.size() > 0 && beginsAsPool(m_source))
                           ? FileState::Whole
                           : FileState::Foreign;
        m_rows.poolId = m_pool.poolId;
        m_rows.poolName = m_pool.poolName;
        addLine(m_rows.words.names, m_pool.poolName);
        for (std::string const &name : m_pool.classes)
            addLine(m_rows.classes, name);
        m_rows.unit = TemplateExpressions(m_pool).unit().name;
        header();
        parameters();
        for (StoredCategory const &category : m_pool.categories)
        {
            object(category, category.name);
            refer(category.id, category.group, "group");
            refer(category.id, category.parameters, "parameter");
        }
        for (StoredGroup const &group : m_pool.groups)
        {
            object(group);
            refer(group.id, group.categories, "category");
        }
        for (StoredRelation const &relation : m_pool.relations)
        {
            object(relation);
            refer(relation.id, relation.parameters, "member");
        }
        for (StoredPicture const &picture : m_pool.pictures)
        {
            object(picture);
            m_rows.pictures.push_back(pictureOf(picture));
        }
        for (StoredObject const &other : m_pool.others)
            object(other);
        std::sort(m_rows.objects.begin(), m_rows.objects.end(),
                  [](ObjectRow const &left, ObjectRow const &right) { return left.offset < right.offset; });
        for (ObjectRow const &row : m_rows.objects)
            addLine(m_rows.words.names, row.name);
    }

    /// The numbers of the rows are those of the file, to the last bit.
    bool isExact() const { return m_isExact; }

private:
    void object(StoredObject const &stored, std::string const &name = {})
    {
        m_rows.objects.push_back({stored.id, stored.className, name, stored.begin, stored.end - stored.begin});
    }

    void refer(_GUID const &from, _GUID const &to, char const *role)
    {
        if (!isSame(to, kNoId))
            m_rows.references.push_back({from, to, role});
    }
    void refer(_GUID const &from, std::vector<_GUID> const &to, char const *role)
    {
        for (_GUID const &id : to)
            refer(from, id, role);
    }
    void refer(_GUID const &from, std::optional<HeaderReference> const &to, char const *role)
    {
        if (to)
            refer(from, to->id, role);
    }

    /// A type has one name, and a file has few types.
    std::string const &typeName(int type)
    {
        auto const [at, isNew] = m_typeNames.try_emplace(type);
        if (isNew)
            at->second = OKTDbParameter::getNameFromType(type).ToUtf8();
        return at->second;
    }

    void header()
    {
        if (!m_pool.header.isWhole)
            return;
        PoolHeader const header = readPoolHeader(m_source, m_pool.header.begin);
        _GUID const pool = header.id.value_or(kNoId);
        refer(pool, header.construct, "construct");
        refer(pool, header.oldPicture, "picture");
        refer(pool, header.index, "index");
        refer(pool, header.ppActions, "actions");
        refer(pool, header.sketch, "sketch");
        for (HeaderReference const &picture : header.pictures)
            refer(pool, picture.id, "picture");
        refer(pool, header.radialReinf, "radial");
    }

    void parameters()
    {
        m_rows.parameters.reserve(m_pool.parameters.size());
        for (StoredParameter const &parameter : m_pool.parameters)
        {
            m_rows.objects.push_back(
                {parameter.id, parameter.className, parameter.name, parameter.begin, parameter.end - parameter.begin});
            m_rows.parameters.push_back(okt::rowOf(parameter, typeName(parameter.type)));
            ParameterRow const &row = m_rows.parameters.back();
            std::optional<double> const number = parameter.number();
            m_isExact = m_isExact && (!number || (*number == *number && std::signbit(*number) == std::signbit(*row.number)));
            if (row.text)
                addLine(m_rows.words.texts, *row.text);
            addLine(m_rows.words.expressions, row.expression);
            addLine(m_rows.words.descriptions, row.description);
            refer(parameter.id, parameter.category, "category");
            refer(parameter.id, parameter.owner, "owner");
            refer(parameter.id, parameter.uses, "parameter");
        }
        std::vector<std::size_t> const order = m_pool.inOrder();
        for (std::size_t i = 0; i < order.size(); ++i)
            m_rows.parameters[order[i]].place = static_cast<int>(i);
    }

    PictureRow pictureOf(StoredPicture const &picture)
    {
        PictureRow row;
        row.id = picture.id;
        std::string const text = pictureText(m_source, picture.begin);
        CByteArray image;
        if (int size = static_cast<int>(text.size()); size > 0)
        {
            unsigned char *const room = image.Extend(size);
            image.SetSize(base64Decode(text.data(), static_cast<int>(text.size()), room, &size) != 0 ? size : 0);
        }
        ImageFormat const format = formatOf(image);
        row.format = format.name;
        row.width = format.width;
        row.height = format.height;
        row.bytes = image.GetSize();
        ValueWalk walk(m_source, picture.begin);
        while (walk.next())
            if (std::vector<double> const &reals = walk.value().reals;
                walk.value().kind == StoredValue::Kind::Point && reals.size() == 3)
                addLine(row.view, number(reals[0]) + ", " + number(reals[1]) + ", " + number(reals[2]));
        return row;
    }

    ByteSource &m_source;
    StoredTemplate m_pool;
    PoolRows &m_rows;
    bool m_isExact = true;
    std::unordered_map<int, std::string> m_typeNames;
};

} // namespace

char const *stateName(FileState state)
{
    switch (state)
    {
    case FileState::Whole: return "whole";
    case FileState::Damaged: return "damaged";
    case FileState::Foreign: break;
    }
    return "foreign";
}

PoolRows rowsOf(std::string_view bytes, RowDigester const &digestOf)
{
    PoolRows rows;
    rows.size = static_cast<std::int64_t>(bytes.size());
    rows.sha256 = digestOf(bytes);
    ByteSource source(bytes);
    Rows maker(source, rows);
    maker.make();
    rows.isPlain = rows.size > 0 && maker.isExact() && isSoundByRecords(source);
    return rows;
}

void addFindings(PoolRows &rows, std::string_view bytes, ModuleLookup const &moduleOf)
{
    VerifyOptions options;
    options.moduleOf = moduleOf;
    bool isDamaged = false;
    options.onFinding = [&](Finding const &finding) {
        isDamaged = isDamaged || finding.severity == Finding::Severity::Error;
        std::optional<_GUID> const id = finding.id && isSame(*finding.id, kNoId) ? std::nullopt : finding.id;
        rows.findings.push_back(
            {codeName(finding.code), severityName(finding.severity), finding.offset, id, sentenceOf(finding)});
    };
    ByteSource source(bytes);
    if (bytes.empty())
        rows.findings.push_back(
            {codeName(Finding::Code::Header), severityName(Finding::Severity::Error), 0, {}, "the file is empty"});
    else
        verify(source, options);
    if (isDamaged && rows.state == FileState::Whole)
        rows.state = FileState::Damaged;
}

StoredTemplate templateOf(PoolRows const &rows)
{
    StoredTemplate pool;
    pool.size = rows.size;
    pool.header.isWhole = true;
    pool.poolId = rows.poolId;
    pool.poolName = rows.poolName;
    for (std::size_t at = 0; at < rows.classes.size();)
    {
        std::size_t const end = std::min(rows.classes.find('\n', at), rows.classes.size());
        pool.classes.insert(rows.classes.substr(at, end - at));
        at = end + 1;
    }
    StoredCategory listed;
    listed.parameters.resize(rows.parameters.size());
    for (ParameterRow const &row : rows.parameters)
    {
        StoredParameter parameter;
        parameter.id = row.id;
        parameter.name = row.name;
        parameter.type = row.type;
        parameter.listIndex = row.listIndex;
        parameter.kind = row.kind;
        parameter.value = valueOf(row);
        parameter.category = row.category;
        parameter.owner = row.owner;
        parameter.expression = row.expression;
        parameter.description = row.description;
        pool.byId.emplace(std::string(reinterpret_cast<char const *>(&row.id), sizeof row.id), pool.parameters.size());
        pool.parameters.push_back(std::move(parameter));
        if (row.place >= 0)
            listed.parameters[static_cast<std::size_t>(row.place)] = row.id;
    }
    pool.categories.push_back(std::move(listed));
    return pool;
}

} // namespace okt
