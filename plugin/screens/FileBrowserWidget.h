#pragma once

#include "SlQFileSvc.h"

#include <QFlags>
#include <QIcon>
#include <QList>
#include <QString>
#include <QStringList>
#include <QWidget>

class SlGfwTreeWidget;
class SlGfwTreeWidgetItem;

// Which drives the browser offers; the flags combine.
enum DRV_TYPE_ENUM {
    DRV_TYPE_NC = 1,     // "NC Data", //NC
    DRV_TYPE_CARD = 2,   // "System CF card", /card
    DRV_TYPE_USB = 4,    // the USB ports of the panels
    DRV_TYPE_FTP = 8,    // network drives over ftp
    DRV_TYPE_SHARE = 16, // network drives over smb or nfs
};
Q_DECLARE_FLAGS(DRV_TYPES, DRV_TYPE_ENUM)
Q_DECLARE_OPERATORS_FOR_FLAGS(DRV_TYPES)

// A tree of drives and folders, read lazily through the file service: a
// folder is listed at its first opening. The tree carries each item's state
// in hidden columns, and follows the mounting and unmounting of the drives
// it shows while it is loaded.
class FileBrowserWidget : public QWidget
{
    Q_OBJECT
public:
    struct ColInfo
    {
        int index;
        QString label;
        int width;
        bool hidden;
    };

    // The columns, which also hold the state of each item.
    enum Column {
        ColName = 0,
        ColSize = 1,
        ColTime = 2,
        ColPath = 3,
        ColIsFolder = 4,
        ColIsLoaded = 5,
        ColIsMounted = 6,
    };

    explicit FileBrowserWidget(QWidget* parent = nullptr, Qt::WindowFlags flags = Qt::WindowFlags());
    ~FileBrowserWidget() override;

    void LoadDevices(bool isBrowseFile, QFlags<DRV_TYPE_ENUM> types);
    void UnloadDevices();

    // The full path of the current item, empty unless it is of the kind
    // being browsed for (a file in browse-file mode, a folder otherwise).
    QString GetCurrentPath(QString& displayPath, bool& isMounted);
    // The opener's path is deliberately not used to preselect an item.
    void SetCurrentPath(const QString& path);

    void SetColLabel(int column, const QString& label);
    void SetColHide(int column, bool hide);
    void SetColWidth(int column, int width);

signals:
    void signalSelectionChanged();
    void signalDriveNotify(const QString& drvName, const QString& drvPath, bool isMounted);

private slots:
    void slotTreeItemDoubleClicked(SlGfwTreeWidgetItem* pItem, int column);
    void slotTreeItemExpanded(SlGfwTreeWidgetItem* pItem);
    void slotTreeItemCollapsed(SlGfwTreeWidgetItem* pItem);
    void slotTreeItemSelectionChanged();
    void slotDriveMounted(const QString& drvPath);
    void slotDriveUnmounted(const QString& drvPath);

private:
    void CreateTree();
    void ApplyColumns();
    SlGfwTreeWidgetItem* AppendTreeItem(const QString& name, const QString& path, bool isFolder, bool isLoaded,
                                        qint64 size, qint64 time, bool isMounted, SlGfwTreeWidgetItem* parent);
    void ListFolder(SlGfwTreeWidgetItem* item, const QString& path);
    void RemoveTreeItem(SlGfwTreeWidgetItem* item, bool removeSelf);
    void ClearTreeItems();
    SlGfwTreeWidgetItem* FindDriveTreeItem(SlGfwTreeWidgetItem* item, bool upward, const QString& path) const;
    void SetDriveMounted(const QString& path, bool mounted);
    bool IsFolder(const SlGfwTreeWidgetItem* item) const;
    bool IsFolderClosed(const SlGfwTreeWidgetItem* item) const;
    void LoadIcons();

    QList<ColInfo> m_cols;
    bool m_isBrowseFile = false;
    QIcon m_folderClosedIcon;
    QIcon m_folderOpenedIcon;
    QIcon m_fileIcon;
    SlQFileSvc m_fileSvc;
    QStringList m_drivePaths;
    SlGfwTreeWidget* m_pTree = nullptr;
};
