#pragma once

#include <QString>

// Making a network share available on the target is the integrator's job,
// not the plug-in's: the target folder must exist already. The hook stays
// so that a change of target still has one place to announce itself.
class CShareFolder
{
public:
    CShareFolder() = delete;
    static bool Create(const QString& name, const QString& path);
};
