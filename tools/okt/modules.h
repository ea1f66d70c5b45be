#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace okt
{

/// Loads client modules for the rest of the process. Their classes are those of this program from then on.
class Modules
{
public:
    /// Throws Failure: there is no such file, the system does not load it, it registers no class, or it registers one whose name
    /// is taken. The registry is then as it was. A file that is loaded already is passed over.
    void load(std::filesystem::path const &path);

private:
    bool isKnown(std::filesystem::path const &path) const;

    std::vector<std::filesystem::path> m_files;
    std::map<std::string, std::string> m_owners; ///< the module of each class that one of them brought, in UTF-8
};

} // namespace okt
