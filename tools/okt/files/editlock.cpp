// SPDX-License-Identifier: MIT
#include <tools/okt/files/editlock.h>

#include <tools/okt/files/files.h>

#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktformat/folderentries.h>
#include <oktplatform/oktprogram.h>

#include <algorithm>
#include <fstream>
#include <random>
#include <set>
#include <string>
#include <system_error>
#include <vector>

namespace okt
{

namespace
{

namespace fs = std::filesystem;

fs::path lockPath(fs::path const &file)
{
    std::error_code error;
    fs::path target = fs::canonical(file, error); // whatever link leads to it
    if (error)
        target = file;
    fs::path name = ".";
    name += target.filename();
    name += ".okt-lock";
    return target.parent_path() / name;
}

/// Removes the locks that killed runs left in a folder, once for each folder. Whoever has made one and not locked it yet finds the name gone,
/// and makes another (EditLock::isOurs).
void removeLeftLocks(fs::path const &folder)
{
    static std::set<fs::path> swept;
    if (!swept.insert(folder).second)
        return;
    std::error_code error;
    std::vector<fs::path> locks;
    fs::directory_iterator at = entriesOf(folder.empty() ? fs::path(".") : folder, error);
    for (; !error && at != fs::directory_iterator(); at.increment(error))
        if (std::string const name = pathName(at->path().filename()); name.starts_with('.') && name.ends_with(".okt-lock"))
            locks.push_back(at->path());
    for (fs::path const &path : locks)
    {
        CFile lock;
        CFileException refused;
        if (!lock.Open(pathText(path), CFile::modeReadWrite | CFile::shareExclusive, &refused))
            continue; // it is held, or not ours to touch
        bool const isRemoved = fs::remove(path, error);
        lock.Close();
        if (!isRemoved) // a system that keeps open files
            fs::remove(path, error);
    }
}

} // namespace

EditLock::EditLock(fs::path const &file) : m_path(lockPath(file))
{
    removeLeftLocks(m_path.parent_path());
    constexpr int kMostTries = 20;
    for (int i = 0; i < kMostTries; ++i)
    {
        InterruptHold const hold;
        CFileException refused;
        if (!m_lock.Open(pathText(m_path),
                         CFile::modeCreate | CFile::modeNoTruncate | CFile::modeReadWrite | CFile::shareExclusive, &refused))
        {
            if (OktIsFileInUse(refused.m_lOsError))
                throw Failure(pathName(file), "", "another okt is changing the file");
            throw Failure(pathName(file), "", "the file cannot be locked: " + systemReason(refused.m_lOsError));
        }
        if (isOurs())
        {
            m_halfWritten.emplace(pathName(m_path), HalfWritten::Kind::File);
            return;
        }
        m_lock.Close();
    }
    throw Failure(pathName(file), "", "another okt is changing the file");
}

/// The one that held the lock before may have removed the file between our opening and our locking it: then the name leads to
/// another file by now, or to none.
bool EditLock::isOurs()
{
    constexpr std::size_t kDigits = 20;
    std::string token = std::to_string(std::random_device()()) + std::to_string(std::random_device()());
    token.insert(0, kDigits - std::min(kDigits, token.size()), '0'); // one length, which leaves nothing of an older one
    try
    {
        m_lock.Write(token.data(), static_cast<UINT>(token.size()));
    }
    catch (CFileException const &exception)
    {
        throw Failure(pathName(m_path), "", "the lock cannot be written: " + systemReason(exception.m_lOsError));
    }
    std::ifstream file(m_path, std::ios::binary);
    std::error_code ignored;
    if (!file)
        return fs::exists(m_path, ignored); // nobody else can open what is held, nor remove it
    std::string found;
    file >> found;
    return found == token;
}

EditLock::~EditLock()
{
    // First the name, so that nobody opens a file that is on its way out; a system that keeps open files removes it behind that.
    InterruptHold const hold;
    std::error_code ignored;
    bool const isRemoved = fs::remove(m_path, ignored);
    try
    {
        m_lock.Close();
    }
    catch (CFileException const &)
    {
        // nothing of worth was in it
    }
    if (!isRemoved)
        fs::remove(m_path, ignored);
    m_halfWritten.reset();
}

} // namespace okt
