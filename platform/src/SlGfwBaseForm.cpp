#include "SlGfwBaseForm.h"

#include <QDir>
#include <QFileInfo>

namespace {
QStringList& searchPaths()
{
    static QStringList paths;
    return paths;
}
}

SlGfwBaseForm::SlGfwBaseForm(QWidget* parent, const QString& name, Qt::WindowFlags flags) : QWidget(parent, flags)
{
    setObjectName(name);
}

SlGfwBaseForm::~SlGfwBaseForm() = default;

bool SlGfwBaseForm::searchImageFile(const QString& fileName, QString& path, bool resolutionDependent)
{
    if (fileName.isEmpty())
        return false;
    static const QStringList resolutions = {QStringLiteral("ico1024"), QStringLiteral("ico800"),
                                            QStringLiteral("ico640")};
    for (const QString& folder : searchPaths()) {
        QStringList candidates;
        if (resolutionDependent)
            for (const QString& r : resolutions)
                candidates << QDir(folder).filePath(r + QLatin1Char('/') + fileName);
        candidates << QDir(folder).filePath(fileName);
        for (const QString& c : candidates) {
            if (QFileInfo(c).isFile()) {
                path = QFileInfo(c).absoluteFilePath();
                return true;
            }
        }
    }
    // The platform's own images come last, so a card can replace them.
    const QString builtin = QStringLiteral(":/slgfw/ico/") + fileName;
    if (QFileInfo(builtin).isFile()) {
        path = builtin;
        return true;
    }
    return false;
}

void SlGfwBaseForm::setImageSearchPaths(const QStringList& folders)
{
    searchPaths() = folders;
}

QStringList SlGfwBaseForm::imageSearchPaths()
{
    return searchPaths();
}
