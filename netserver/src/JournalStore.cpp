#include "JournalStore.h"

#include "Utf8Text.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <dirent.h>

namespace {

bool HasSuffix(const std::string& name, const std::string& suffix)
{
    if (name.size() < suffix.size())
        return false;
    for (std::size_t i = 0; i < suffix.size(); ++i) {
        char c = name[name.size() - suffix.size() + i];
        if (c >= 'A' && c <= 'Z')
            c = char(c - 'A' + 'a');
        if (c != suffix[i])
            return false;
    }
    return true;
}

}  // namespace

JournalStore::JournalStore(const std::string& folder)
    : m_folder(folder)
{
}

std::string JournalStore::BaseName(const std::string& path)
{
    const auto slash = path.find_last_of("/\\");
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

void JournalStore::Scan()
{
    std::vector<std::string> names;
    if (DIR* dir = opendir(m_folder.c_str())) {
        while (const dirent* entry = readdir(dir)) {
            const std::string name = entry->d_name;
            if (HasSuffix(name, ".cna"))
                names.push_back(name);
        }
        closedir(dir);
    }
    // The names carry the time stamp, so their order is the order of making.
    std::sort(names.begin(), names.end());
    for (const std::string& name : names)
        Add(m_folder + "/" + name);
}

bool JournalStore::Add(const std::string& path)
{
    struct stat st;
    if (stat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode))
        return false;
    if (!IsPending(path))
        m_pending.push_back(path);
    return true;
}

bool JournalStore::IsPending(const std::string& path) const
{
    return std::find(m_pending.begin(), m_pending.end(), path) != m_pending.end();
}

std::string JournalStore::Acknowledge(const std::string& name)
{
    for (auto it = m_pending.begin(); it != m_pending.end(); ++it) {
        // Clients know the name as it went out, repaired to UTF-8.
        if (Utf8Text::Repair(BaseName(*it)) != name)
            continue;
        const std::string path = *it;
        m_pending.erase(it);
        const std::string folder = path.substr(0, path.find_last_of('/'));
        if (folder == m_folder) {
            const std::string done = m_folder + "/acknowledged";
            mkdir(done.c_str(), 0755);
            std::rename(path.c_str(), (done + "/" + BaseName(path)).c_str());
        }
        return path;
    }
    return std::string();
}
