#include "ShareFolder.h"

bool CShareFolder::Create(const QString& name, const QString& path)
{
    Q_UNUSED(name)
    Q_UNUSED(path)
    return false;
}
