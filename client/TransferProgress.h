#ifndef TRANSFERPROGRESS_H
#define TRANSFERPROGRESS_H

#include <chrono>
#include <cstdint>
#include <string>

// Progress of a long transfer on stderr, on one line that is rewritten,
// and only for a person at a terminal: a script's stderr stays clean for
// the error text.
class TransferProgress
{
public:
    TransferProgress(const std::string& label, std::uint64_t total, bool forced);
    ~TransferProgress();

    void Update(std::uint64_t done);
    void Finish();

private:
    std::string m_label;
    std::uint64_t m_total;
    std::uint64_t m_done = 0;
    bool m_enabled;
    bool m_shown = false;
    std::chrono::steady_clock::time_point m_last;
};

#endif
