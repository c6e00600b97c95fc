#include "SiemensHarvelFormUGUD.h"

#include "AppCfg.h"
#include "Logger.h"
#include "MiscUtility.h"
#include "SlGfwHmiDialog.h"
#include "SlGfwScreen.h"
#include "SlGrGrid.h"
#include "SlGrHeader.h"
#include "SlQFileSvc.h"

#include <QGridLayout>
#include <QPalette>
#include <QRegExp>
#include <QVariant>

namespace {
const char* const kScreenName = "screenUGUD";
const char* const kMenuName = "myVr";
const int kOkKey = 8;
const int kColumns = 4;
const int kTextColumn = 3;

// The first line is the marker by which an earlier merge is known.
const char* const kRequiredLines[] = {
    "; NC Velmar Variables",
    "DEF NCK INT TMR_FILE",
    "DEF NCK INT TMR_VINT[5]",
    "DEF NCK REAL TMR_VAR[1000]",
    "DEF NCK BOOL TMR_PRGISMETRIC",
    "DEF NCK INT TMR_DIALOG_VINT[4]",
    "DEF NCK STRING[256] TMR_DIALOG_VSTR[3]",
    "DEF NCK REAL TMR_FINDSPHERE[7]",
};
// A statement that names one of these is the plug-in's own, from an
// earlier merge or a hand edit, and gives way to the lines above.
const char* const kOwnNames = "\\b(TMR_FILE|TMR_VINT|TMR_VAR|TMR_PRGISMETRIC|TMR_DIALOG_VINT|TMR_DIALOG_VSTR|TMR_FINDSPHERE)\\b";
// The statements that end a definition file as a program.
const char* const kProgramEnds[] = {"M30", "RET", "M17", "M2"};
const char* const kAddedEnd = "M30";

const QString kAdded = QStringLiteral("+");
const QString kDropped = QStringLiteral("-");
const QString kChanged = QStringLiteral("*");
} // namespace

SiemensHarvelFormUGUD::SiemensHarvelFormUGUD(QWidget* parent, const QString& name, Qt::WindowFlags flags)
    : SlGfwDialogForm(parent, name, flags)
{
    setGeometricNavigationEnabled(false);

    auto* layout = new QGridLayout(this);
    m_pUGUDGrid = new SlGrGrid(0, kColumns, this, QStringLiteral("gridUGUD"));
    m_pUGUDGrid->setSelectionMode(SlGrGrid::SingleRow);
    m_pUGUDGrid->setColumnDistance(0);
    m_pUGUDGrid->setRowDistance(0);
    m_pUGUDGrid->verticalHeader()->hide();
    m_pUGUDGrid->horizontalHeader()->setLabel(kTextColumn, QStringLiteral("Text"));
    m_pUGUDGrid->horizontalHeader()->setStretchLastSection(true);
    m_pUGUDGrid->setEditTriggers(QAbstractItemView::NoEditTriggers);
    // A definition file is read in a fixed-pitch font, so that columns the
    // author aligned stay aligned.
    m_pUGUDGrid->setFont(CMiscUtility::GetMonospaceFont());
    QPalette grey = m_pUGUDGrid->palette();
    grey.setColor(QPalette::Base, Qt::lightGray);
    for (int c = 0; c < kTextColumn; ++c)
        m_pUGUDGrid->setColumnColorPalette(c, grey);
    layout->addWidget(m_pUGUDGrid, 0, 0);
    connect(m_pUGUDGrid, &SlGrGrid::currentChanged, this, &SiemensHarvelFormUGUD::slotUGUDGridCurrentChanged);

    setCaptionBarElementCount(1);
    setCaptionBarElementAlignment(Qt::AlignCenter, 0);
    setStatusBarElementCount(1);
    setStatusBarVisible(true);
    setStatusBarElementAlignment(Qt::AlignLeft, 0);
}

SiemensHarvelFormUGUD::~SiemensHarvelFormUGUD() = default;

void SiemensHarvelFormUGUD::attachedToScreen(const QString& screen)
{
    setCaptionBarElementText(m_caption, 0);
    setStatusBarElementText(QString(), 0);
    LoadUGUDFile();
    SlGfwDialogForm::attachedToScreen(screen);
}

void SiemensHarvelFormUGUD::detachedFromScreen(const QString& screen)
{
    ClearUGUDGrid();
    SlGfwDialogForm::detachedFromScreen(screen);
}

void SiemensHarvelFormUGUD::onFunction(const QString& name, const QString& args, bool& handled)
{
    SlGfwHmiDialog* hmiDialog = dialog();
    SlGfwScreen* screen = hmiDialog ? hmiDialog->screenRef(hmiDialog->activeScreen()) : nullptr;
    if (screen) {
        // Every key leaves the screen; only OK hands over a text, and an
        // empty one tells the opener there is nothing to write.
        const QString text = name == QLatin1String("doOK") ? GetUGUDGridText() : QString();
        screen->setModalResult(QVariant(text));
        hmiDialog->switchToScreen(m_backScreen, QString());
        handled = true;
    }
    if (!handled)
        SlGfwDialogForm::onFunction(name, args, handled);
}

QList<SiemensHarvelFormUGUD::UGUDLine> SiemensHarvelFormUGUD::MergeUGUDLines(const QStringList& oldLines)
{
    static const QRegExp ownNames(QLatin1String(kOwnNames), Qt::CaseSensitive);
    static const QString marker = QString::fromLatin1(kRequiredLines[0]).toUpper();

    QList<UGUDLine> merged;
    int newLine = 0;
    // The definitions come first, so that the variables exist before
    // anything in the old file can use them.
    for (const char* line : kRequiredLines)
        merged.append({QLatin1String(line), kAdded, 0, ++newLine});

    bool hasProgramEnd = false;
    for (int i = 0; i < oldLines.size(); ++i) {
        const QString& line = oldLines.at(i);
        const QString upper = line.trimmed().toUpper();
        const int comment = upper.indexOf(QLatin1Char(';'));
        const QString code = comment < 0 ? upper : upper.left(comment).trimmed();
        // Only the statement is searched: a comment that names a variable
        // stays, a statement that merely uses one goes with the definitions.
        if (upper == marker || ownNames.indexIn(code) >= 0) {
            merged.append({line, kDropped, i + 1, 0});
            continue;
        }
        merged.append({line, QString(), i + 1, ++newLine});
        for (const char* end : kProgramEnds)
            hasProgramEnd = hasProgramEnd || code == QLatin1String(end);
    }
    if (!hasProgramEnd)
        merged.append({QLatin1String(kAddedEnd), kAdded, 0, newLine + 1});
    return merged;
}

void SiemensHarvelFormUGUD::LoadUGUDFile()
{
    if (!m_pUGUDGrid) {
        setStatusBarElementText(QStringLiteral("Invaild list widget"), 0);
        CMiscUtility::SetSoftKeyEnable(dialog(), QLatin1String(kScreenName), kOkKey, false, QLatin1String(kMenuName));
        return;
    }
    QStringList lines;
    if (!LoadUGUDFile(lines)) {
        // Nothing here enables OK again: the menu's next showing does.
        setStatusBarElementText(QStringLiteral("Cannot load UGUD file"), 0);
        CMiscUtility::SetSoftKeyEnable(dialog(), QLatin1String(kScreenName), kOkKey, false, QLatin1String(kMenuName));
        return;
    }
    for (const UGUDLine& line : MergeUGUDLines(lines))
        AddUGUDGridItem(line.text, line.mark, line.oldLine, line.newLine);
    ResizeUGUDGridColWidth();
}

bool SiemensHarvelFormUGUD::LoadUGUDFile(QStringList& lines)
{
    // The NC's file system is reachable only through the file service, so
    // the file is read from a copy.
    const QString ncPath = CAppCfg::m_instance.UgudFile();
    const QString tmpPath = CAppCfg::m_instance.UgudTmpFile();
    SlQFileSvc fileSvc;
    if (fileSvc.init() != 0) {
        CLogger::Error(QStringLiteral("Load UGUD file failed. File=%1, ErrInfo=Cannot init filesvc").arg(ncPath), true);
        return false;
    }
    bool result = false;
    bool found = false;
    if (fileSvc.exist(ncPath, found) != 0) {
        CLogger::Error(QStringLiteral("Load UGUD file failed. File=%1, ErrInfo=Cannot check if file exists").arg(ncPath),
                       true);
    } else if (!found) {
        // No file yet: the merge makes a new one.
        result = true;
    } else if (fileSvc.copyFile(ncPath, tmpPath, true) != 0) {
        CLogger::Error(QStringLiteral("Load UGUD file failed. File=%1, ErrInfo=Cannot copy file").arg(ncPath), true);
    } else {
        QString error;
        result = CMiscUtility::ReadTextFile(tmpPath, lines, error, 0, 0);
        if (result)
            CLogger::Info(QStringLiteral("Load UGUD file succeeded. File=%1").arg(ncPath), true);
        else
            CLogger::Error(QStringLiteral("Load UGUD file failed. File=%1, ErrInfo=Cannot read file").arg(ncPath), true);
    }
    fileSvc.remove(tmpPath);
    fileSvc.fini();
    return result;
}

void SiemensHarvelFormUGUD::AddUGUDGridItem(const QString& text, const QString& mark, int oldLine, int newLine)
{
    if (!m_pUGUDGrid)
        return;
    const int row = m_pUGUDGrid->appendRow();
    m_pUGUDGrid->setText(row, 0, oldLine >= 1 ? QString::number(oldLine) : QString());
    m_pUGUDGrid->setText(row, 1, newLine >= 1 ? QString::number(newLine) : QString());
    m_pUGUDGrid->setText(row, 2, mark);
    m_pUGUDGrid->setText(row, kTextColumn, text);
    for (int c = 0; c < kColumns; ++c)
        m_pUGUDGrid->item(row, c)->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable);

    QColor color;
    if (mark == kAdded)
        color = Qt::darkGreen;
    else if (mark == kDropped || mark == kChanged)
        color = Qt::darkRed;
    if (!color.isValid())
        return;
    QPalette palette = m_pUGUDGrid->getCellColorPalette(row, kTextColumn);
    for (auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled})
        palette.setColor(group, QPalette::Text, color);
    m_pUGUDGrid->setCellColorPalette(row, kTextColumn, palette);
}

QString SiemensHarvelFormUGUD::GetUGUDGridText() const
{
    if (!m_pUGUDGrid || m_pUGUDGrid->rowCount() < 1 || m_pUGUDGrid->columnCount() != kColumns)
        return QString();
    QString text;
    for (int row = 0; row < m_pUGUDGrid->rowCount(); ++row) {
        if (m_pUGUDGrid->text(row, 2) == kDropped)
            continue;
        text += m_pUGUDGrid->text(row, kTextColumn);
        text += QLatin1Char('\n');
    }
    return text;
}

void SiemensHarvelFormUGUD::ClearUGUDGrid()
{
    if (!m_pUGUDGrid)
        return;
    while (m_pUGUDGrid->rowCount() > 0)
        m_pUGUDGrid->removeRow(m_pUGUDGrid->rowCount() - 1);
}

void SiemensHarvelFormUGUD::ResizeUGUDGridColWidth()
{
    if (!m_pUGUDGrid)
        return;
    // Line numbers of two files stand side by side: they get room for four
    // digits, so that "1" and "9" do not read as "19".
    const int numberWidth = m_pUGUDGrid->fontMetrics().horizontalAdvance(QStringLiteral("00000"));
    for (int c = 0; c < m_pUGUDGrid->columnCount(); ++c) {
        if (m_pUGUDGrid->isColumnHidden(c))
            continue;
        m_pUGUDGrid->resizeColumnToContents(c);
        if (c < 2)
            m_pUGUDGrid->setColumnWidth(c, qMax(m_pUGUDGrid->columnWidth(c), numberWidth));
    }
}

void SiemensHarvelFormUGUD::slotUGUDGridCurrentChanged(int nRow, int nCol)
{
    // A line too long for the grid can be read in full below it.
    if (!m_pUGUDGrid || m_pUGUDGrid->columnCount() != kColumns)
        return;
    if (nRow < 0 || nRow >= m_pUGUDGrid->rowCount() || nCol < 0 || nCol >= m_pUGUDGrid->columnCount())
        return;
    setStatusBarElementText(m_pUGUDGrid->text(nRow, kTextColumn), 0);
}
