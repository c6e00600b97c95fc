#pragma once

#include <QStringList>
#include <QWidget>

// Common base of the platform's forms.
class SlGfwBaseForm : public QWidget
{
    Q_OBJECT
public:
    explicit SlGfwBaseForm(QWidget* parent = nullptr, const QString& name = QString(),
                           Qt::WindowFlags flags = Qt::WindowFlags());
    ~SlGfwBaseForm() override;

    // Looks an image up by file name in the operator interface's image
    // folders, the panel's resolution folder (ico1024, ico800, ico640)
    // first when resolutionDependent is set, then the platform's own
    // images (fv_folder_closed.png, fv_folder_opened.png, fv_file.png).
    // True with the full path in path when found.
    static bool searchImageFile(const QString& fileName, QString& path, bool resolutionDependent = true);

    // The folders searched, most specific first; the host sets them from
    // the machine's card (user, oem, addon, siemens).
    static void setImageSearchPaths(const QStringList& folders);
    static QStringList imageSearchPaths();
};
