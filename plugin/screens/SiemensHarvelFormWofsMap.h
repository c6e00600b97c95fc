#pragma once

#include "SiemensAPITypes.h"
#include "SlGfwDialogForm.h"

#include <QList>
#include <QString>
#include <QStringList>

class SlGrGrid;

// Which machine axis stands for each of the measurement application's six
// axes X, Y, Z, A, B, C. OK hands the map, as the setting wofsaxes holds
// it, to the opener, which asks and saves; this screen writes nothing.
class SiemensHarvelFormWofsMap : public SlGfwDialogForm
{
    Q_OBJECT
    Q_PROPERTY(QString propCaption READ Caption WRITE SetCaption)
    Q_PROPERTY(QString propBackScreen READ BackScreen WRITE SetBackScreen)
public:
    SiemensHarvelFormWofsMap(QWidget* parent, const QString& name, Qt::WindowFlags flags);
    ~SiemensHarvelFormWofsMap() override;

    void attachedToScreen(const QString& screen) override;
    void detachedFromScreen(const QString& screen) override;
    void onFunction(const QString& name, const QString& args, bool& handled) override;

    void MapDefault();
    QString GetWofsMapFromGrid() const;
    void FillGridWidget();
    void SetupGridWidget();

    QString Caption() const { return m_caption; }
    void SetCaption(const QString& caption) { m_caption = caption; }
    QString BackScreen() const { return m_backScreen; }
    void SetBackScreen(const QString& backScreen) { m_backScreen = backScreen; }

private slots:
    void slotGridValueChanged(int nRow, int nCol);

private:
    void ClearGridWidget();
    void ShowMachineAxis(int row, int position);

    SlGrGrid* m_pGrid = nullptr;

    QList<tagAxisInfo> m_machAxes;
    QStringList m_machAxisNames;
    QList<int> m_mappedIndexes;
    QStringList m_mappedNames;

    QString m_caption;
    QString m_backScreen;
};
