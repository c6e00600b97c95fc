#ifndef JOURNALSTORE_H
#define JOURNALSTORE_H

#include <string>
#include <vector>

// The journals that no client has acknowledged yet. The journal folder is
// the store: a complete journal (.cna) in it is pending, and an
// acknowledged one moves into its subfolder "acknowledged", so that what
// is pending survives a restart of the HMI. Not thread-safe: its owner
// locks.
class JournalStore
{
public:
    explicit JournalStore(const std::string& folder);

    // Takes every .cna of the folder, oldest name first.
    void Scan();
    // False if the file does not exist; a known one is not added twice.
    bool Add(const std::string& path);
    bool IsPending(const std::string& path) const;
    // By bare name; the path of the journal, or empty if none is pending.
    std::string Acknowledge(const std::string& name);
    const std::vector<std::string>& Pending() const { return m_pending; }

    static std::string BaseName(const std::string& path);

private:
    std::string m_folder;
    std::vector<std::string> m_pending;
};

#endif
