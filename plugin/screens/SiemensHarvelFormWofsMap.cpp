#include "SiemensHarvelFormWofsMap.h"

#include "AppCfg.h"
#include "MiscUtility.h"
#include "SlGfwHmiDialog.h"
#include "SlGfwScreen.h"
#include "SlGrComboGridItem.h"
#include "SlGrGrid.h"
#include "SlGrHeader.h"

#include <QGridLayout>
#include <QVariant>

namespace {
const int kColumns = 4;
const int kNameColumn = 0;
const int kIndexColumn = 1;
const int kTypeColumn = 2;
const int kAxisColumn = 3;
const char* const kHeads[kColumns] = {"TMR Axis", "Axis Index", "Axis Type", "Machine Axis"};
} // namespace

SiemensHarvelFormWofsMap::SiemensHarvelFormWofsMap(QWidget* parent, const QString& name, Qt::WindowFlags flags)
    : SlGfwDialogForm(parent, name, flags)
{
    setGeometricNavigationEnabled(false);
    SetupGridWidget();

    setCaptionBarElementCount(1);
    setCaptionBarElementAlignment(Qt::AlignCenter, 0);
    setStatusBarElementCount(1);
    setStatusBarVisible(true);
    setStatusBarElementAlignment(Qt::AlignLeft, 0);
}

SiemensHarvelFormWofsMap::~SiemensHarvelFormWofsMap() = default;

void SiemensHarvelFormWofsMap::SetupGridWidget()
{
    auto* layout = new QGridLayout(this);
    m_pGrid = new SlGrGrid(0, kColumns, this, QStringLiteral("gridWofsMap"));
    m_pGrid->setSelectionMode(SlGrGrid::SingleRow);
    m_pGrid->verticalHeader()->hide();
    m_pGrid->setColumnDistance(1);
    m_pGrid->setRowDistance(1);
    m_pGrid->setContentsMargins(2, 2, 2, 2);
    for (int c = 0; c < kColumns; ++c) {
        m_pGrid->horizontalHeader()->setLabel(c, QLatin1String(kHeads[c]));
        m_pGrid->setColumnAlignment(c, Qt::AlignCenter);
    }
    m_pGrid->horizontalHeader()->setStretchLastSection(true);
    layout->addWidget(m_pGrid, 0, 0);
    connect(m_pGrid, &SlGrGrid::valueChanged, this, &SiemensHarvelFormWofsMap::slotGridValueChanged);
}

void SiemensHarvelFormWofsMap::attachedToScreen(const QString& screen)
{
    // Each showing starts from the stored map, so cancelled edits are gone.
    CAppCfg::m_instance.GetMachAxisList(m_machAxes, m_machAxisNames, true);
    CAppCfg::m_instance.GetWofsMapAxisIndexList(m_mappedIndexes, m_mappedNames);
    setCaptionBarElementText(m_caption, 0);
    FillGridWidget();
    SlGfwDialogForm::attachedToScreen(screen);
}

void SiemensHarvelFormWofsMap::detachedFromScreen(const QString& screen)
{
    m_machAxes.clear();
    m_machAxisNames.clear();
    m_mappedIndexes.clear();
    m_mappedNames.clear();
    ClearGridWidget();
    SlGfwDialogForm::detachedFromScreen(screen);
}

void SiemensHarvelFormWofsMap::onFunction(const QString& name, const QString& args, bool& handled)
{
    SlGfwHmiDialog* hmiDialog = dialog();
    SlGfwScreen* screen = hmiDialog ? hmiDialog->screenRef(hmiDialog->activeScreen()) : nullptr;
    if (screen) {
        if (name == QLatin1String("mapDefault")) {
            MapDefault();
        } else if (name == QLatin1String("doOK") || name == QLatin1String("doCancel")) {
            const QString map = name == QLatin1String("doOK") ? GetWofsMapFromGrid() : QString();
            screen->setModalResult(QVariant(map));
            hmiDialog->switchToScreen(m_backScreen, QString());
        }
        // Every key of this screen is its own, known or not.
        handled = true;
    }
    if (!handled)
        SlGfwDialogForm::onFunction(name, args, handled);
}

void SiemensHarvelFormWofsMap::ShowMachineAxis(int row, int position)
{
    const tagAxisInfo axis = m_machAxes.value(position);
    m_pGrid->setText(row, kIndexColumn, QString::number(position > 0 ? axis.index : 0));
    m_pGrid->setText(row, kTypeColumn, position > 0 ? CMiscUtility::GetAxisTypeQStr(axis.type) : QString());
}

void SiemensHarvelFormWofsMap::FillGridWidget()
{
    if (!m_pGrid)
        return;
    for (int i = 0; i < m_mappedIndexes.size(); ++i) {
        const int mapped = m_mappedIndexes.at(i);
        int position = 0;
        QString type;
        for (int p = 0; p < m_machAxes.size(); ++p) {
            if (m_machAxes.at(p).index == mapped) {
                position = p;
                type = CMiscUtility::GetAxisTypeQStr(m_machAxes.at(p).type);
                break;
            }
        }
        const int row = m_pGrid->appendRow();
        // The configured number stands as it is, even one that names no
        // machine axis: OK gives it back unless the operator chose another.
        m_pGrid->setText(row, kNameColumn, m_mappedNames.value(i));
        m_pGrid->setText(row, kIndexColumn, QString::number(mapped));
        m_pGrid->setText(row, kTypeColumn, type);
        for (int c = kNameColumn; c <= kTypeColumn; ++c)
            m_pGrid->item(row, c)->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable);
        auto* combo = new SlGrComboGridItem(m_machAxisNames);
        combo->setCurrentIndex(position);
        m_pGrid->setItem(row, kAxisColumn, combo);
    }
    for (int c = 0; c < kColumns; ++c)
        m_pGrid->resizeColumnToContents(c);
}

void SiemensHarvelFormWofsMap::ClearGridWidget()
{
    if (!m_pGrid)
        return;
    while (m_pGrid->rowCount() > 0)
        m_pGrid->removeRow(m_pGrid->rowCount() - 1);
}

void SiemensHarvelFormWofsMap::slotGridValueChanged(int nRow, int nCol)
{
    if (!m_pGrid || nCol != kAxisColumn || nRow < 0 || nRow >= m_pGrid->rowCount())
        return;
    auto* combo = dynamic_cast<SlGrComboGridItem*>(m_pGrid->item(nRow, nCol));
    if (!combo)
        return;
    ShowMachineAxis(nRow, qMax(0, combo->currentIndex()));
}

void SiemensHarvelFormWofsMap::MapDefault()
{
    if (!m_pGrid || m_pGrid->rowCount() < 1)
        return;
    for (int row = 0; row < m_pGrid->rowCount(); ++row) {
        const QString name = m_pGrid->text(row, kNameColumn).trimmed();
        auto* combo = dynamic_cast<SlGrComboGridItem*>(m_pGrid->item(row, kAxisColumn));
        if (!combo)
            continue;
        // The names must match in full: X1 is no X.
        int position = 0;
        for (int p = 1; p < m_machAxes.size(); ++p) {
            if (m_machAxes.at(p).name.compare(name, Qt::CaseInsensitive) == 0) {
                position = p;
                break;
            }
        }
        combo->setCurrentIndex(position);
        ShowMachineAxis(row, position);
    }
}

QString SiemensHarvelFormWofsMap::GetWofsMapFromGrid() const
{
    if (!m_pGrid || m_pGrid->rowCount() < 1)
        return QString();
    QStringList fields;
    for (int row = 0; row < m_pGrid->rowCount(); ++row)
        fields << m_pGrid->text(row, kIndexColumn).trimmed();
    return fields.join(QLatin1Char('-'));
}
