// SPDX-License-Identifier: MIT
#include <oktcatalog/update.h>

#include <oktcatalog/filereaders.h>

#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktformat/guids.h>
#include <oktformat/text.h>
#include <oktinspect/valuetext.h>

#include <algorithm>
#include <cmath>
#include <unordered_map>
#include <unordered_set>

namespace okt
{

namespace
{

// Files that become visible at once. An interrupted run has to read no more than so many again.
constexpr int kBatch = 200;

std::string_view viewOf(CByteArray const &bytes)
{
    return {reinterpret_cast<char const *>(bytes.GetData()), static_cast<std::size_t>(bytes.GetSize())};
}

class Update
{
public:
    Update(Catalog &catalog, std::vector<FoundFolder> const &folders, UpdateOptions const &options)
        : m_catalog(catalog), m_folders(folders), m_options(options)
    {
    }

    UpdateResult run()
    {
        std::unordered_set<std::string_view> seen;
        std::vector<std::vector<CatalogFile>> before;
        for (FoundFolder const &folder : m_folders)
        {
            before.push_back(m_catalog.files(folder.path));
            look(folder, before.back(), seen);
        }
        for (std::size_t i = 0; i < m_folders.size(); ++i)
            if (m_folders[i].isWhole)
                for (CatalogFile const &file : before[i])
                    if (!seen.contains(file.path) && m_gone.insert(file.id).second)
                        m_removed.push_back(file.id);
        std::vector<std::string> const known = m_catalog.folders();
        for (FoundFolder const &folder : m_folders)
            if (folder.isGone)
                change([&] { m_catalog.removeFolder(folder.path); });
            else if (!std::binary_search(known.begin(), known.end(), folder.path))
                change([&] { m_catalog.addFolder(folder.path); });
        read();
        for (std::int64_t const file : m_removed)
            change([&] { m_catalog.remove(file); });
        m_result.removed += static_cast<std::int64_t>(m_removed.size());
        end();
        m_catalog.indexIds();
        return m_result;
    }

private:
    void look(FoundFolder const &folder, std::vector<CatalogFile> const &files, std::unordered_set<std::string_view> &seen)
    {
        std::unordered_map<std::string_view, CatalogFile const *> known;
        known.reserve(files.size());
        for (CatalogFile const &file : files)
            known.emplace(file.path, &file);
        for (FoundFile const &file : folder.files)
        {
            if (!seen.insert(file.path).second)
                continue;
            ++m_result.files;
            auto const found = known.find(file.path);
            if (found == known.end())
                m_tasks.push_back({&file, 0, ""});
            else if (CatalogFile const &before = *found->second; before.stamp != file.stamp)
                m_tasks.push_back({&file, before.id, ""});
            else if (before.isInDoubt())
                m_tasks.push_back({&file, before.id, m_catalog.digest(before.id)});
        }
    }

    void read()
    {
        if (m_tasks.empty())
            return;
        std::uint64_t total = 0;
        for (FileTask const &task : m_tasks)
            total += static_cast<std::uint64_t>(std::max<std::int64_t>(0, task.file->stamp.size));
        ProgressStep progress(m_options.onProgress, "catalog", total);
        FileReaders readers(m_tasks, m_options);
        std::uint64_t done = 0;
        for (FileTask const &task : m_tasks)
        {
            take(task, readers.next());
            done += static_cast<std::uint64_t>(std::max<std::int64_t>(0, task.file->stamp.size));
            progress.at(done);
        }
    }

    void take(FileTask const &task, FileAnswer answer)
    {
        if (!answer.fault.empty())
        {
            ++m_result.unread;
            if (m_options.onFault)
                m_options.onFault(answer.fault);
        }
        else if (answer.isGone) // since the folder was looked through
        {
            --m_result.files;
            if (task.known != 0)
                m_removed.push_back(task.known);
        }
        else if (!answer.rows)
            change([&] { m_catalog.note(task.known, answer.stamp, answer.lookedNs); });
        else
        {
            if (!answer.rows->isPlain)
                addFindings(*answer.rows, viewOf(answer.bytes), m_options.moduleOf);
            m_result.damaged += answer.rows->state == FileState::Damaged ? 1 : 0;
            ++(task.known == 0 ? m_result.added : m_result.changed);
            change([&] { m_catalog.put(*answer.rows); });
        }
    }

    template <typename Change> void change(Change const &make)
    {
        if (m_inBatch == 0)
            m_catalog.begin();
        make();
        if (++m_inBatch == kBatch)
            end();
    }

    void end()
    {
        if (m_inBatch > 0)
            m_catalog.commit();
        m_inBatch = 0;
    }

    Catalog &m_catalog;
    std::vector<FoundFolder> const &m_folders;
    UpdateOptions const &m_options;
    std::vector<FileTask> m_tasks;
    std::vector<std::int64_t> m_removed;
    std::unordered_set<std::int64_t> m_gone;
    UpdateResult m_result;
    int m_inBatch = 0;
};

/// All of the rows but times, as a text to be compared.
std::string linesOf(PoolRows const &rows)
{
    std::string lines;
    auto const add = [&lines](auto const &...fields) {
        auto const one = [&lines](auto const &field) {
            using Field = std::decay_t<decltype(field)>;
            if constexpr (std::is_same_v<Field, _GUID>)
                lines.append(reinterpret_cast<char const *>(&field), sizeof field);
            else if constexpr (std::is_arithmetic_v<Field>)
                lines += number(static_cast<double>(field));
            else
                lines += field;
            lines += '\x1F';
        };
        (one(fields), ...);
        lines += '\n';
    };
    add(rows.size, rows.sha256, rows.poolId.value_or(kNoId), rows.poolName, stateName(rows.state), rows.isPlain ? 1 : 0,
        rows.unit, rows.classes);
    for (ObjectRow const &row : rows.objects)
        add(row.id, row.className, row.name, row.offset, row.size);
    for (ParameterRow const &row : rows.parameters)
        add(row.id, row.category, row.owner, row.name, row.type, row.typeName, row.listIndex, row.listCode, row.kind,
            row.number.has_value() ? 1 : 0, row.number.value_or(0), row.text.has_value() ? 1 : 0, row.text.value_or(""),
            row.isLength ? 1 : 0, row.expression, row.description, row.place);
    for (ReferenceRow const &row : rows.references)
        add(row.from, row.to, row.role);
    for (PictureRow const &row : rows.pictures)
        add(row.id, row.format, row.width, row.height, row.bytes, row.view);
    for (FindingRow const &row : rows.findings)
        add(row.code, row.severity, row.offset, row.id.value_or(kNoId), row.message);
    add(rows.words.names, rows.words.texts, rows.words.descriptions, rows.words.expressions);
    return lines;
}

} // namespace

UpdateResult update(std::filesystem::path const &path, std::vector<FoundFolder> const &folders, UpdateOptions const &options)
{
    Catalog catalog(path, Catalog::Use::Write);
    return Update(catalog, folders, options).run();
}

bool isCurrent(CatalogFile const &file, StampReader const &stampOf)
{
    return !file.isInDoubt() && stampOf(file.path) == file.stamp;
}

std::vector<CatalogDifference> compareRows(Catalog &catalog, std::vector<FoundFolder> const &folders,
                                           UpdateOptions const &options)
{
    using Kind = CatalogDifference::Kind;
    std::vector<CatalogDifference> differences;
    std::vector<CatalogFile> files = catalog.files();
    std::sort(files.begin(), files.end(),
              [](CatalogFile const &left, CatalogFile const &right) { return left.path < right.path; });
    std::vector<FoundFile> found;
    for (CatalogFile const &file : files)
        found.push_back({file.path, file.stamp});
    std::vector<FileTask> tasks;
    for (std::size_t i = 0; i < files.size(); ++i)
        tasks.push_back({&found[i], files[i].id, ""});
    ProgressStep progress(options.onProgress, "catalog", files.size());
    FileReaders readers(tasks, options);
    for (std::size_t i = 0; i < files.size(); ++i)
    {
        progress.at(i);
        FileAnswer answer = readers.next();
        CatalogFile const &file = files[i];
        if (!answer.fault.empty())
            differences.push_back({Kind::Unread, file.path, answer.fault});
        else if (answer.isGone)
            differences.push_back({Kind::Gone, file.path, {}});
        else if (answer.rows->sha256 != catalog.digest(file.id))
            differences.push_back({Kind::Changed, file.path, {}});
        else
        {
            if (!answer.rows->isPlain)
                addFindings(*answer.rows, viewOf(answer.bytes), options.moduleOf);
            if (linesOf(catalog.rows(file.id)) != linesOf(*answer.rows))
                differences.push_back({Kind::Rows, file.path, {}});
        }
    }
    for (FoundFolder const &folder : folders)
        for (FoundFile const &each : folder.files)
            if (!std::binary_search(files.begin(), files.end(), CatalogFile{0, each.path, {}, 0, false},
                                    [](CatalogFile const &left, CatalogFile const &right) { return left.path < right.path; }))
                differences.push_back({Kind::New, each.path, {}});
    std::stable_sort(differences.begin(), differences.end(),
                     [](CatalogDifference const &left, CatalogDifference const &right) { return left.path < right.path; });
    differences.erase(std::unique(differences.begin(), differences.end(),
                                  [](CatalogDifference const &left, CatalogDifference const &right) {
                                      return left.kind == Kind::New && right.kind == Kind::New && left.path == right.path;
                                  }),
                      differences.end());
    return differences;
}

} // namespace okt
