#include "TransferProgress.h"

#include <unistd.h>

#include <cstdio>

namespace {

const double kMiB = 1024.0 * 1024.0;

}  // namespace

TransferProgress::TransferProgress(const std::string& label, std::uint64_t total, bool forced)
    : m_label(label), m_total(total), m_enabled(forced || isatty(STDERR_FILENO))
{
}

TransferProgress::~TransferProgress()
{
    Finish();
}

void TransferProgress::Update(std::uint64_t done)
{
    m_done = done;
    if (!m_enabled)
        return;
    const auto now = std::chrono::steady_clock::now();
    if (m_shown && now - m_last < std::chrono::milliseconds(200) && done < m_total)
        return;
    m_last = now;
    m_shown = true;
    const int percent = m_total ? int(done * 100 / m_total) : 100;
    std::fprintf(stderr, "\r%s: %.1f of %.1f MiB (%d%%)", m_label.c_str(), double(done) / kMiB,
                 double(m_total) / kMiB, percent);
    std::fflush(stderr);
}

void TransferProgress::Finish()
{
    if (m_shown) {
        std::fprintf(stderr, "\n");
        m_shown = false;
    }
}
