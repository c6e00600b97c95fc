#include "FileBrowserWidget.h"

#include "Logger.h"
#include "MiscUtility.h"
#include "SlGfwDialogForm.h"
#include "SlGfwTreeWidget.h"
#include "SlGfwTreeWidgetItem.h"
#include "SlPmHelper.h"
#include "SlPmLogicalDrive.h"

#include <QGridLayout>
#include <QHeaderView>

namespace {
const QString kYes = QStringLiteral("1");
const QString kNo = QStringLiteral("0");

QString Flag(bool value)
{
    return value ? kYes : kNo;
}
} // namespace

FileBrowserWidget::FileBrowserWidget(QWidget* parent, Qt::WindowFlags flags) : QWidget(parent, flags)
{
    m_cols = {
        {ColName, QStringLiteral("Name"), 200, false},        {ColSize, QStringLiteral("Size"), 60, false},
        {ColTime, QStringLiteral("Time"), 140, false},        {ColPath, QStringLiteral("Path"), 0, true},
        {ColIsFolder, QStringLiteral("IsFolder"), 0, true},   {ColIsLoaded, QStringLiteral("IsLoaded"), 0, true},
        {ColIsMounted, QStringLiteral("IsMounted"), 0, true},
    };
    LoadIcons();
    CreateTree();
}

FileBrowserWidget::~FileBrowserWidget()
{
    // The service must not outlive its registration of the drives.
    UnloadDevices();
}

void FileBrowserWidget::LoadIcons()
{
    // The images belong to the HMI, which finds them for its forms only.
    if (!qobject_cast<SlGfwDialogForm*>(parentWidget()))
        return;
    QString path;
    if (SlGfwBaseForm::searchImageFile(QStringLiteral("fv_folder_closed.png"), path, true))
        m_folderClosedIcon.addFile(path);
    if (SlGfwBaseForm::searchImageFile(QStringLiteral("fv_folder_opened.png"), path, true))
        m_folderOpenedIcon.addFile(path);
    if (SlGfwBaseForm::searchImageFile(QStringLiteral("fv_file.png"), path, true))
        m_fileIcon.addFile(path);
}

void FileBrowserWidget::CreateTree()
{
    auto* layout = new QGridLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    m_pTree = new SlGfwTreeWidget(this);
    m_pTree->setObjectName(QStringLiteral("fileTree"));
    m_pTree->setRootIsDecorated(true);
    m_pTree->setItemsExpandable(true);
    m_pTree->setSelectionMode(QAbstractItemView::SingleSelection);
    m_pTree->setColumnCount(m_cols.size());
    ApplyColumns();
    layout->addWidget(m_pTree, 0, 0);

    connect(m_pTree, &SlGfwTreeWidget::itemDoubleClicked, this, &FileBrowserWidget::slotTreeItemDoubleClicked);
    connect(m_pTree, &SlGfwTreeWidget::itemExpanded, this, &FileBrowserWidget::slotTreeItemExpanded);
    connect(m_pTree, &SlGfwTreeWidget::itemCollapsed, this, &FileBrowserWidget::slotTreeItemCollapsed);
    connect(m_pTree, &QTreeWidget::itemSelectionChanged, this, &FileBrowserWidget::slotTreeItemSelectionChanged);
}

void FileBrowserWidget::ApplyColumns()
{
    QStringList labels;
    for (const ColInfo& col : qAsConst(m_cols))
        labels << col.label;
    m_pTree->setHeaderLabels(labels);
    for (const ColInfo& col : qAsConst(m_cols)) {
        m_pTree->setColumnHidden(col.index, col.hidden);
        if (col.width > 0)
            m_pTree->setColumnWidth(col.index, col.width);
    }
}

void FileBrowserWidget::SetColLabel(int column, const QString& label)
{
    if (column < 0 || column >= m_cols.size())
        return;
    m_cols[column].label = label;
    QStringList labels;
    for (const ColInfo& col : qAsConst(m_cols))
        labels << col.label;
    m_pTree->setHeaderLabels(labels);
}

void FileBrowserWidget::SetColHide(int column, bool hide)
{
    if (column < 0 || column >= m_cols.size())
        return;
    m_cols[column].hidden = hide;
    m_pTree->setColumnHidden(column, hide);
}

void FileBrowserWidget::SetColWidth(int column, int width)
{
    if (column < 0 || column >= m_cols.size())
        return;
    m_cols[column].width = width;
    m_pTree->setColumnWidth(column, width);
}

void FileBrowserWidget::SetCurrentPath(const QString&) {}

SlGfwTreeWidgetItem* FileBrowserWidget::AppendTreeItem(const QString& name, const QString& path, bool isFolder,
                                                       bool isLoaded, qint64 size, qint64 time, bool isMounted,
                                                       SlGfwTreeWidgetItem* parent)
{
    const QStringList texts{
        name,
        size >= 0 ? QString::number(size) : QString(),
        time >= 0 ? CMiscUtility::EpochSeconds2QStr(static_cast<unsigned int>(time),
                                                    QStringLiteral("yyyy-MM-dd hh:mm:ss"))
                  : QString(),
        path,
        Flag(isFolder),
        Flag(isLoaded),
        Flag(isMounted),
    };
    auto* item = new SlGfwTreeWidgetItem(texts);
    item->setIcon(ColName, isFolder ? m_folderClosedIcon : m_fileIcon);
    // A folder not yet read may have children: it gets an expander so the
    // operator can open it; once read, only one with children keeps it.
    if (isFolder && !isLoaded)
        item->setChildIndicatorPolicy(QTreeWidgetItem::ShowIndicator);
    if (parent)
        parent->addChild(item);
    else
        m_pTree->addTopLevelItem(item);
    return item;
}

bool FileBrowserWidget::IsFolder(const SlGfwTreeWidgetItem* item) const
{
    return item && item->text(ColIsFolder) == kYes;
}

bool FileBrowserWidget::IsFolderClosed(const SlGfwTreeWidgetItem* item) const
{
    // Without images there is no icon to tell; the view's state does.
    if (m_folderClosedIcon.isNull())
        return !item->isExpanded() || item->text(ColIsLoaded) != kYes;
    return item->icon(ColName).cacheKey() == m_folderClosedIcon.cacheKey();
}

void FileBrowserWidget::LoadDevices(bool isBrowseFile, QFlags<DRV_TYPE_ENUM> types)
{
    UnloadDevices();
    m_isBrowseFile = isBrowseFile;

    const long initResult = m_fileSvc.init();
    if (initResult != 0)
        CLogger::Error(
            QStringLiteral("Cannot init filesvc (%1)").arg(CMiscUtility::GetHexQStr(static_cast<int>(initResult),
                                                                                   QStringLiteral("0x"))),
            true);

    if (types.testFlag(DRV_TYPE_NC))
        AppendTreeItem(QStringLiteral("NC Data"), QStringLiteral("//NC"), true, false, -1, -1, true, nullptr);
    if (types.testFlag(DRV_TYPE_CARD))
        AppendTreeItem(QStringLiteral("System CF card"), QStringLiteral("/card"), true, false, -1, -1, true,
                       nullptr);

    if (types & (DRV_TYPE_USB | DRV_TYPE_FTP | DRV_TYPE_SHARE)) {
        QList<SlPmLogicalDrive*> drives;
        QStringList names;
        SlPmHelper::createLogicalDriveData(drives, names);
        while (!drives.isEmpty()) {
            SlPmLogicalDrive* drive = drives.takeFirst();
            const QString path = drive->eesPath();
            if (!path.isEmpty()) {
                QString name = drive->displayText(true);
                // The panel's own port has no text of its own on every HMI.
                if (name == QLatin1String("SL_PM_SK_LOCAL_TCU_USB"))
                    name = drive->symbolicName();
                const QString netType = drive->netDriveType();
                const bool taken =
                    (types.testFlag(DRV_TYPE_USB) && drive->isEESTcu())
                    || (types.testFlag(DRV_TYPE_FTP) && drive->isNet() && netType == QLatin1String("ftp"))
                    || (types.testFlag(DRV_TYPE_SHARE) && drive->isNet()
                        && (netType == QLatin1String("smb") || netType == QLatin1String("nfs")));
                if (taken) {
                    AppendTreeItem(name, path, true, false, -1, -1, drive->isMounted(), nullptr);
                    m_drivePaths << path;
                }
            }
            delete drive;
        }
    }

    if (m_drivePaths.isEmpty())
        return;

    const long registerResult = m_fileSvc.registerForDriveNotifications(m_drivePaths);
    if (registerResult != 0)
        CLogger::Error(QStringLiteral("Cannot registerForDriveNotifications (%1)")
                           .arg(CMiscUtility::GetHexQStr(static_cast<int>(registerResult), QStringLiteral("0x"))),
                       true);
    if (!connect(&m_fileSvc, &SlQFileSvc::driveMounted, this, &FileBrowserWidget::slotDriveMounted,
                 Qt::UniqueConnection))
        CLogger::Error(QStringLiteral("Cannot connect signal slot for driveMounted"), true);
    if (!connect(&m_fileSvc, &SlQFileSvc::driveUnmounted, this, &FileBrowserWidget::slotDriveUnmounted,
                 Qt::UniqueConnection))
        CLogger::Error(QStringLiteral("Cannot connect signal slot for driveUnmounted"), true);
}

void FileBrowserWidget::UnloadDevices()
{
    if (!m_drivePaths.isEmpty()) {
        m_drivePaths.clear();
        disconnect(&m_fileSvc, &SlQFileSvc::driveMounted, this, &FileBrowserWidget::slotDriveMounted);
        disconnect(&m_fileSvc, &SlQFileSvc::driveUnmounted, this, &FileBrowserWidget::slotDriveUnmounted);
        m_fileSvc.unregisterFromDriveNotifications();
    }
    m_fileSvc.fini();
    ClearTreeItems();
}

void FileBrowserWidget::ClearTreeItems()
{
    if (!m_pTree)
        return;
    while (m_pTree->topLevelItemCount() > 0)
        delete m_pTree->QTreeWidget::takeTopLevelItem(0);
}

void FileBrowserWidget::ListFolder(SlGfwTreeWidgetItem* item, const QString& path)
{
    if (!item)
        return;
    const bool isMounted = item->text(ColIsMounted) == kYes;
    RemoveTreeItem(item, false);
    // A failed listing leaves the folder empty; the service has its reasons
    // and the operator sees the folder as it can be used.
    QVector<NodeInfo> nodes;
    m_fileSvc.listFolder(path, nodes);
    for (const NodeInfo& node : qAsConst(nodes)) {
        if (!node.isFolder() && !m_isBrowseFile)
            continue;
        AppendTreeItem(node.name(), node.path(), node.isFolder(), false, node.size(), node.lastWriteTime(),
                       isMounted, item);
    }
}

void FileBrowserWidget::RemoveTreeItem(SlGfwTreeWidgetItem* item, bool removeSelf)
{
    if (!item)
        return;
    while (item->childCount() > 0) {
        SlGfwTreeWidgetItem* child = item->takeChild(0);
        RemoveTreeItem(child, true);
    }
    if (removeSelf)
        delete item;
}

void FileBrowserWidget::slotTreeItemExpanded(SlGfwTreeWidgetItem* pItem)
{
    if (!IsFolder(pItem))
        return;
    pItem->setIcon(ColName, m_folderOpenedIcon);
    if (pItem->text(ColIsLoaded) != kYes) {
        ListFolder(pItem, pItem->text(ColPath));
        pItem->setText(ColIsLoaded, kYes);
        pItem->setChildIndicatorPolicy(QTreeWidgetItem::DontShowIndicatorWhenChildless);
    }
}

void FileBrowserWidget::slotTreeItemCollapsed(SlGfwTreeWidgetItem* pItem)
{
    if (!IsFolder(pItem))
        return;
    pItem->setIcon(ColName, m_folderClosedIcon);
}

void FileBrowserWidget::slotTreeItemDoubleClicked(SlGfwTreeWidgetItem* pItem, int column)
{
    // A folder without children has no expander: the double click is the
    // operator's way to open it.
    if (!IsFolder(pItem))
        return;
    if (IsFolderClosed(pItem))
        slotTreeItemExpanded(pItem);
    else
        slotTreeItemCollapsed(pItem);
}

void FileBrowserWidget::slotTreeItemSelectionChanged()
{
    emit signalSelectionChanged();
}

SlGfwTreeWidgetItem* FileBrowserWidget::FindDriveTreeItem(SlGfwTreeWidgetItem* item, bool upward,
                                                          const QString& path) const
{
    if (upward) {
        SlGfwTreeWidgetItem* drive = item;
        while (drive && drive->parent() && !drive->parent()->text(ColPath).isEmpty())
            drive = drive->parent();
        return drive;
    }
    if (!item || path.isEmpty())
        return nullptr;
    if (!item->text(ColPath).isEmpty())
        return IsFolder(item) && item->text(ColPath) == path ? item : nullptr;
    for (int i = 0; i < item->childCount(); ++i) {
        SlGfwTreeWidgetItem* child = item->child(i);
        if (IsFolder(child) && child->text(ColPath) == path)
            return child;
    }
    return nullptr;
}

void FileBrowserWidget::SetDriveMounted(const QString& path, bool mounted)
{
    if (!m_pTree || path.isEmpty())
        return;
    SlGfwTreeWidgetItem* drive = nullptr;
    for (int i = 0; i < m_pTree->topLevelItemCount() && !drive; ++i)
        drive = FindDriveTreeItem(m_pTree->topLevelItem(i), false, path);
    if (!drive)
        return;

    RemoveTreeItem(drive, false);
    drive->setText(ColIsMounted, Flag(mounted));
    drive->setText(ColIsLoaded, kNo);
    drive->setIcon(ColName, m_folderClosedIcon);
    drive->setChildIndicatorPolicy(QTreeWidgetItem::ShowIndicator);
    drive->setExpanded(false);
    if (mounted) {
        // A stick just put in is what the operator wants to see.
        slotTreeItemDoubleClicked(drive, 0);
        drive->setExpanded(true);
    }

    emit signalDriveNotify(drive->text(ColName), path, mounted);
    emit signalSelectionChanged();
}

void FileBrowserWidget::slotDriveMounted(const QString& drvPath)
{
    SetDriveMounted(drvPath, true);
}

void FileBrowserWidget::slotDriveUnmounted(const QString& drvPath)
{
    SetDriveMounted(drvPath, false);
}

QString FileBrowserWidget::GetCurrentPath(QString& displayPath, bool& isMounted)
{
    SlGfwTreeWidgetItem* item = m_pTree ? m_pTree->currentItem() : nullptr;
    if (!item)
        return QString();
    const QString path = item->text(ColPath).trimmed();
    if (path.isEmpty())
        return QString();
    // Only the kind being browsed for counts: a file in browse-file mode,
    // a folder otherwise.
    if (m_isBrowseFile == IsFolder(item))
        return QString();

    const SlGfwTreeWidgetItem* drive = FindDriveTreeItem(item, true, QString());
    if (!drive)
        drive = item;
    isMounted = drive->text(ColIsMounted) == kYes;
    const QString driveName = drive->text(ColName);

    QString rest = path;
    while (rest.startsWith(QLatin1Char('/')))
        rest.remove(0, 1);
    const int slash = rest.indexOf(QLatin1Char('/'));
    if (slash >= 0)
        rest = rest.mid(slash + 1);
    displayPath = driveName + QLatin1Char('/') + rest;
    return path;
}
