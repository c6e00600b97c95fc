#pragma once

#include "SlGfwDialogForm.h"

#include <QString>

class SlGfwLabel;
class SlGfwLineEdit;
class SlGfwTextEdit;

// The sphere centre cycle: the program template to read and edit, the
// sphere's and the probe's radius and the work offset as inputs, and the
// centre the program measured. The run key saves the template, copies it
// into the program folder, selects it, hands the inputs to the NC and sends
// the operator to the machine area to start it; the sphere centre monitor
// reports the run back through ShowFindSphereResult.
class SiemensHarvelFormFindSphereCenter : public SlGfwDialogForm
{
    Q_OBJECT
public:
    SiemensHarvelFormFindSphereCenter(QWidget* parent, const QString& name, Qt::WindowFlags flags);
    ~SiemensHarvelFormFindSphereCenter() override;

    void attachedToScreen(const QString& screen) override;
    void onFunction(const QString& name, const QString& args, bool& handled) override;
    bool eventFilter(QObject* object, QEvent* event) override;

    // state: 0 no run, 1 executing, 2 finished with the centre x, y, z.
    void ShowFindSphereResult(int state, double x, double y, double z);

    bool GetInputValues(double& sphereRadius, double& probeRadius, int& workOffset);
    void SetRunSoftKeyEnable();
    void SetStatusBarTextByProgState();
    void ShowProg();
    bool SaveProg(const QString& path, QString& error);
    bool CopyAndSelectProg(const QString& source, const QString& target, QString& error);
    void RunProg();
    void ClearEditProgFocus();

public slots:
    void slotLineEditTextChanged(const QString& text, QWidget* source);
    void slotTextEditTextChanged();

private:
    SlGfwLineEdit* AddField(const QString& label, const QString& toolTip, const QString& objectName, int row,
                            int column, bool readOnly);
    int SetFindSphereInputsOfDialog(double sphereRadius, double probeRadius, int workOffset);

    bool m_reloadOnAttach = true;
    int m_progState = 0;
    bool m_firstPaintSeen = false;
    SlGfwTextEdit* m_pEditProg = nullptr;
    QString m_shownProgText;
    SlGfwLineEdit* m_pSphereRadius = nullptr;
    SlGfwLineEdit* m_pProbeRadius = nullptr;
    SlGfwLineEdit* m_pWorkOffset = nullptr;
    SlGfwLineEdit* m_pCenterX = nullptr;
    SlGfwLineEdit* m_pCenterY = nullptr;
    SlGfwLineEdit* m_pCenterZ = nullptr;
};
