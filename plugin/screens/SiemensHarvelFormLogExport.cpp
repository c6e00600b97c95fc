#include "SiemensHarvelFormLogExport.h"

#include "FileBrowserWidget.h"
#include "Logger.h"
#include "MiscUtility.h"
#include "SlGfwCheckBox.h"
#include "SlGfwHmiDialog.h"
#include "SlGfwLabel.h"
#include "SlGfwRadioButton.h"
#include "SlGfwScreen.h"
#include "SlGrCheckGridItem.h"
#include "SlGrGrid.h"
#include "ZynNetClientCollect.h"
#include "ZynNetServerHost.h"

#include <QButtonGroup>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QVariant>

#include <algorithm>

namespace {
const char* const kScreenName = "screenLogExport";
const char* const kMenuName = "myVr";
const int kOKPosition = 8;
const int kGridColumns = 3;

// A cell the operator reads but must not change: the export takes its
// value as the file or the client to send to.
QTableWidgetItem* ReadOnlyItem(const QString& text)
{
    auto* item = new QTableWidgetItem(text);
    item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable);
    return item;
}

SlGrCheckGridItem* CheckItem(const SlGrGrid* grid, int row)
{
    QTableWidgetItem* item = grid->item(row, 0);
    return item && item->type() == SlGrCheckGridItem::Type ? static_cast<SlGrCheckGridItem*>(item) : nullptr;
}
} // namespace

SiemensHarvelFormLogExport::SiemensHarvelFormLogExport(QWidget* parent, const QString& name,
                                                       Qt::WindowFlags flags)
    : SlGfwDialogForm(parent, name, flags)
{
    qRegisterMetaType<UsbStick>("UsbStick");
    qRegisterMetaType<LogExportInfo>("LogExportInfo");
    // The grids and the tree take the arrow keys themselves.
    setGeometricNavigationEnabled(false);

    m_pLogFileGrid = new SlGrGrid(0, kGridColumns, this, QStringLiteral("gridLogFiles"));
    m_pLogFileGrid->setHorizontalHeaderLabels({QString(), QStringLiteral("Log File"), QStringLiteral("Path")});
    SetupGridWidget(m_pLogFileGrid);
    m_pCheckAllLogFile = new SlGfwCheckBox(QStringLiteral("Select All"), this);
    m_pCheckAllLogFile->setObjectName(QStringLiteral("checkAllLogFiles"));
    m_pCheckAllLogFile->setToolTip(QStringLiteral("Select all log files"));

    m_pExportToLabel = new SlGfwLabel(QStringLiteral("Export To:"), this);
    m_pRadioUSBStick = new SlGfwRadioButton(QStringLiteral("USB Stick"), this);
    m_pRadioUSBStick->setObjectName(QStringLiteral("radioUsbStick"));
    m_pRadioZYNNet = new SlGfwRadioButton(QStringLiteral("ZYN Net"), this);
    m_pRadioZYNNet->setObjectName(QStringLiteral("radioZynNet"));
    m_pExportToGroup = new QButtonGroup(this);
    m_pExportToGroup->setExclusive(true);
    m_pExportToGroup->addButton(m_pRadioUSBStick, 0);
    m_pExportToGroup->addButton(m_pRadioZYNNet, 1);

    m_pUSBStickBrowser = new FileBrowserWidget(this);
    m_pUSBStickBrowser->setObjectName(QStringLiteral("browserUsbStick"));
    m_pUSBStickBrowser->SetColLabel(FileBrowserWidget::ColName, QStringLiteral("USB Stick"));
    m_pUSBStickBrowser->SetColHide(FileBrowserWidget::ColSize, true);
    m_pUSBStickBrowser->SetColHide(FileBrowserWidget::ColTime, true);

    m_pZYNClientGrid = new SlGrGrid(0, kGridColumns, this, QStringLiteral("gridZynClients"));
    m_pZYNClientGrid->setHorizontalHeaderLabels(
        {QString(), QStringLiteral("ZYN Net Client"), QStringLiteral("Peer")});
    SetupGridWidget(m_pZYNClientGrid);
    m_pCheckAllZYNClient = new SlGfwCheckBox(QStringLiteral("Select All"), this);
    m_pCheckAllZYNClient->setObjectName(QStringLiteral("checkAllZynClients"));
    m_pCheckAllZYNClient->setToolTip(QStringLiteral("Select all ZYN Net clients"));

    auto* layout = new QGridLayout(this);
    layout->addWidget(m_pLogFileGrid, 0, 0);
    layout->addWidget(m_pCheckAllLogFile, 1, 0);
    auto* exportTo = new QHBoxLayout;
    exportTo->addWidget(m_pExportToLabel);
    exportTo->addWidget(m_pRadioUSBStick);
    exportTo->addWidget(m_pRadioZYNNet);
    exportTo->addStretch(1);
    layout->addLayout(exportTo, 2, 0);
    // Browser and client grid share the place: one is shown per target.
    layout->addWidget(m_pUSBStickBrowser, 3, 0);
    layout->addWidget(m_pZYNClientGrid, 3, 0);
    layout->addWidget(m_pCheckAllZYNClient, 4, 0);
    layout->setRowStretch(0, 1);
    layout->setRowStretch(3, 1);

    connect(m_pRadioUSBStick, &QRadioButton::toggled, this, &SiemensHarvelFormLogExport::slotExportTo);
    connect(m_pRadioZYNNet, &QRadioButton::toggled, this, &SiemensHarvelFormLogExport::slotExportTo);
    connect(m_pCheckAllLogFile, &QCheckBox::stateChanged, this, &SiemensHarvelFormLogExport::slotCheckAllLogFile);
    connect(m_pCheckAllZYNClient, &QCheckBox::stateChanged, this,
            &SiemensHarvelFormLogExport::slotCheckAllZYNClient);
    connect(m_pLogFileGrid, &SlGrGrid::valueChanged, this, &SiemensHarvelFormLogExport::slotCheckOneLogFile);
    connect(m_pZYNClientGrid, &SlGrGrid::valueChanged, this, &SiemensHarvelFormLogExport::slotCheckOneZYNClient);
    connect(m_pUSBStickBrowser, &FileBrowserWidget::signalSelectionChanged, this,
            &SiemensHarvelFormLogExport::slotUSBStickSelectPath);
    connect(m_pUSBStickBrowser, &FileBrowserWidget::signalDriveNotify, this,
            &SiemensHarvelFormLogExport::slotUSBStickNotify);

    setCaptionBarElementCount(1);
    setCaptionBarElementAlignment(Qt::AlignCenter, 0);
    setStatusBarElementCount(1);
    setStatusBarElementAlignment(Qt::AlignLeft, 0);
    setStatusBarVisible(true);
}

SiemensHarvelFormLogExport::~SiemensHarvelFormLogExport() = default;

void SiemensHarvelFormLogExport::SetupGridWidget(SlGrGrid* grid)
{
    if (!grid)
        return;
    grid->setRowCount(0);
    grid->verticalHeader()->hide();
    grid->setSelectionMode(SlGrGrid::NoSelection);
}

void SiemensHarvelFormLogExport::attachedToScreen(const QString& screen)
{
    setCaptionBarElementText(m_caption, 0);
    setStatusBarElementText(QString(), 0);
    FillGridWidget(m_pLogFileGrid);
    // A net server that comes up later is not offered here: the form lives
    // as long as the HMI, and the server's state is that of the start.
    if (!CZynNetServerHost::m_isRunning) {
        m_exportType = 0;
        m_pRadioZYNNet->setEnabled(false);
    }
    (m_exportType == 1 ? m_pRadioZYNNet : m_pRadioUSBStick)->setChecked(true);
    slotExportTo(true);
    SlGfwDialogForm::attachedToScreen(screen);
}

void SiemensHarvelFormLogExport::detachedFromScreen(const QString& screen)
{
    ClearGridWidget(m_pLogFileGrid);
    ClearGridWidget(m_pZYNClientGrid);
    // The drives' notifications are followed only while the screen stands.
    ClearUSBStickBrowser();
    SlGfwDialogForm::detachedFromScreen(screen);
}

void SiemensHarvelFormLogExport::slotExportTo(bool)
{
    if (m_pRadioUSBStick->isChecked())
        m_exportType = 0;
    else if (m_pRadioZYNNet->isChecked())
        m_exportType = 1;

    m_pUSBStickBrowser->setVisible(m_exportType == 0);
    m_pZYNClientGrid->setVisible(m_exportType == 1);
    m_pCheckAllZYNClient->setVisible(m_exportType == 1);

    if (m_exportType == 0)
        FillUSBStickBrowser();
    else if (m_exportType == 1)
        FillGridWidget(m_pZYNClientGrid);
}

void SiemensHarvelFormLogExport::FillUSBStickBrowser()
{
    m_pUSBStickBrowser->LoadDevices(false, QFlags<DRV_TYPE_ENUM>(DRV_TYPE_USB));
}

void SiemensHarvelFormLogExport::ClearUSBStickBrowser()
{
    m_pUSBStickBrowser->UnloadDevices();
}

void SiemensHarvelFormLogExport::ClearGridWidget(SlGrGrid* grid)
{
    if (!grid)
        return;
    while (grid->rowCount() > 0)
        grid->removeRow(grid->rowCount() - 1);
}

void SiemensHarvelFormLogExport::AppendGridRow(SlGrGrid* grid, bool checked, const QString& text1,
                                               const QString& text2)
{
    const int row = grid->appendRow();
    grid->setItem(row, 0, new SlGrCheckGridItem(QString(), checked));
    grid->setItem(row, 1, ReadOnlyItem(text1));
    grid->setItem(row, 2, ReadOnlyItem(text2));
}

void SiemensHarvelFormLogExport::FillGridWidget(SlGrGrid* grid)
{
    if (!grid)
        return;
    ClearGridWidget(grid);

    if (grid == m_pLogFileGrid && grid->columnCount() == kGridColumns) {
        QList<tagLogFileInfo> files = CLogger::GetLogFileList();
        if (files.isEmpty()) {
            m_pCheckAllLogFile->setChecked(false);
            m_pCheckAllLogFile->setEnabled(false);
            setStatusBarElementText(QStringLiteral("Cannot get log file list"), 0);
        } else {
            m_pCheckAllLogFile->setEnabled(true);
            const bool all = m_pCheckAllLogFile->isChecked();
            // The live file first, then the archives newest first: their
            // names end in the date.
            std::stable_sort(files.begin(), files.end(), [](const tagLogFileInfo& a, const tagLogFileInfo& b) {
                if (a.isArchive != b.isArchive)
                    return !a.isArchive;
                return a.isArchive && a.filePath > b.filePath;
            });
            for (const tagLogFileInfo& file : qAsConst(files))
                AppendGridRow(grid, all || !file.isArchive, CMiscUtility::GetFileName(file.filePath),
                              file.filePath);
        }
    } else if (grid == m_pZYNClientGrid && grid->columnCount() == kGridColumns) {
        const QList<tagClientInfo> clients = CZynNetClientCollect::GetClientList();
        if (clients.isEmpty()) {
            m_pCheckAllZYNClient->setChecked(false);
            m_pCheckAllZYNClient->setEnabled(false);
        } else {
            m_pCheckAllZYNClient->setEnabled(true);
            const bool all = m_pCheckAllZYNClient->isChecked();
            for (const tagClientInfo& client : clients)
                AppendGridRow(grid, all, QStringLiteral("%1:%2").arg(client.address).arg(client.port),
                              client.peer);
        }
    }

    grid->resizeColumnsToContents();
    SetOKSoftKeyState();
}

void SiemensHarvelFormLogExport::CheckAll(SlGrGrid* grid, SlGfwCheckBox* checkAll)
{
    if (!grid || !checkAll || grid->rowCount() < 1 || grid->columnCount() != kGridColumns)
        return;
    const bool checked = checkAll->isChecked();
    bool changed = false;
    for (int row = 0; row < grid->rowCount(); ++row) {
        SlGrCheckGridItem* item = CheckItem(grid, row);
        if (item && item->isChecked() != checked) {
            item->setChecked(checked);
            changed = true;
        }
    }
    if (changed)
        SetOKSoftKeyState();
}

void SiemensHarvelFormLogExport::slotCheckAllLogFile(int)
{
    CheckAll(m_pLogFileGrid, m_pCheckAllLogFile);
}

void SiemensHarvelFormLogExport::slotCheckAllZYNClient(int)
{
    CheckAll(m_pZYNClientGrid, m_pCheckAllZYNClient);
}

void SiemensHarvelFormLogExport::slotCheckOneLogFile(int nRow, int nCol)
{
    if (nCol == 0 && nRow >= 0 && nRow < m_pLogFileGrid->rowCount())
        SetOKSoftKeyState();
}

void SiemensHarvelFormLogExport::slotCheckOneZYNClient(int nRow, int nCol)
{
    if (nCol == 0 && nRow >= 0 && nRow < m_pZYNClientGrid->rowCount())
        SetOKSoftKeyState();
}

void SiemensHarvelFormLogExport::slotUSBStickSelectPath()
{
    SetOKSoftKeyState();
}

void SiemensHarvelFormLogExport::slotUSBStickNotify(const QString& drvName, const QString& drvPath,
                                                    bool isMounted)
{
    setStatusBarElementText(QStringLiteral("The driver %1 is %2")
                                .arg(drvName, isMounted ? QStringLiteral("mounted") : QStringLiteral("unmounted")),
                            0);
}

void SiemensHarvelFormLogExport::CollectChecked(SlGrGrid* grid, QStringList& values)
{
    if (!grid || grid->columnCount() != kGridColumns)
        return;
    for (int row = 0; row < grid->rowCount(); ++row) {
        const SlGrCheckGridItem* item = CheckItem(grid, row);
        if (!item || !item->isChecked())
            continue;
        const QString value = grid->text(row, 2).trimmed();
        if (!value.isEmpty())
            values << value;
    }
}

bool SiemensHarvelFormLogExport::GetLogExportInfo(LogExportInfo& info)
{
    CollectChecked(m_pLogFileGrid, info.logFiles);
    info.exportType = m_exportType;
    if (m_exportType == 1) {
        CollectChecked(m_pZYNClientGrid, info.netClients);
        return !info.logFiles.isEmpty() && !info.netClients.isEmpty();
    }
    if (m_exportType == 0) {
        UsbStick stick;
        bool mounted = false;
        stick.path = m_pUSBStickBrowser->GetCurrentPath(stick.displayPath, mounted);
        // A folder of a stick that is gone is no target.
        if (mounted && !stick.path.isEmpty())
            info.usbSticks << stick;
        return !info.logFiles.isEmpty() && !info.usbSticks.isEmpty();
    }
    return false;
}

void SiemensHarvelFormLogExport::SetOKSoftKeyState()
{
    LogExportInfo info;
    CMiscUtility::SetSoftKeyEnable(dialog(), QLatin1String(kScreenName), kOKPosition, GetLogExportInfo(info),
                                   QLatin1String(kMenuName));
}

void SiemensHarvelFormLogExport::onFunction(const QString& name, const QString& args, bool& handled)
{
    SlGfwHmiDialog* hmiDialog = dialog();
    SlGfwScreen* screen = hmiDialog ? hmiDialog->screenRef(hmiDialog->activeScreen()) : nullptr;
    if (screen) {
        // Every key leaves the screen; only a complete choice under OK is
        // taken along, anything else reads as cancelled.
        QVariant value;
        LogExportInfo info;
        if (name == QLatin1String("doOK") && GetLogExportInfo(info))
            value = QVariant::fromValue(info);
        screen->setModalResult(value);
        hmiDialog->switchToScreen(m_backScreen, QString());
        handled = true;
    }
    if (!handled)
        SlGfwDialogForm::onFunction(name, args, handled);
}
