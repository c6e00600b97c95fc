#pragma once

#include "SlGfwDialogForm.h"

#include <QList>
#include <QString>
#include <QStringList>

class SlGrGrid;

// The definition file of the NC's global user data as it will be once the
// plug-in's variables are put in, shown line by line against the file as
// it is. OK hands the new text to the opener, which writes and activates
// it; this screen changes nothing on the NC.
class SiemensHarvelFormUGUD : public SlGfwDialogForm
{
    Q_OBJECT
    Q_PROPERTY(QString propCaption READ Caption WRITE SetCaption)
    Q_PROPERTY(QString propBackScreen READ BackScreen WRITE SetBackScreen)
public:
    // One line of the old or the new file: a number of 0 means the line has
    // none in that file; the mark is "+" added, "-" dropped, empty kept.
    struct UGUDLine
    {
        QString text;
        QString mark;
        int oldLine = 0;
        int newLine = 0;
    };

    SiemensHarvelFormUGUD(QWidget* parent, const QString& name, Qt::WindowFlags flags);
    ~SiemensHarvelFormUGUD() override;

    void attachedToScreen(const QString& screen) override;
    void detachedFromScreen(const QString& screen) override;
    void onFunction(const QString& name, const QString& args, bool& handled) override;

    // The plug-in's definitions put at the top of a definition file, its
    // earlier ones dropped, and an end of program added where there is none.
    static QList<UGUDLine> MergeUGUDLines(const QStringList& oldLines);

    void LoadUGUDFile();
    bool LoadUGUDFile(QStringList& lines);
    void AddUGUDGridItem(const QString& text, const QString& mark, int oldLine, int newLine);
    QString GetUGUDGridText() const;
    void ClearUGUDGrid();
    void ResizeUGUDGridColWidth();

    QString Caption() const { return m_caption; }
    void SetCaption(const QString& caption) { m_caption = caption; }
    QString BackScreen() const { return m_backScreen; }
    void SetBackScreen(const QString& backScreen) { m_backScreen = backScreen; }

private slots:
    void slotUGUDGridCurrentChanged(int nRow, int nCol);

private:
    SlGrGrid* m_pUGUDGrid = nullptr;

    QString m_caption;
    QString m_backScreen;
};
