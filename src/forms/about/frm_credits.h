// The About box: the program's name and version over a banner, and the
// credits rolling in a box below them until the user clicks the window or
// the box, or presses Escape.
//
// The box is made ready and its credits start rolling when it is built;
// show it modally, a new one each time, so that the credits start again from
// the bottom in the language of the moment.
#pragma once

#include <QDialog>
#include <QString>

class QLabel;
class CreditsBox;

// The credits text in the scroller's mark-up, from the translated words and
// the engine's version text. `author` adds an empty line and itself at the
// end when it is not empty.
QString BuildCreditsText(const QString &version, const QString &thisProgramUse,
                         const QString &author, const QString &engineVersion);
// The MPQ engine's version text.
QString EngineVersionText();

class frmCredits : public QDialog {
    Q_OBJECT
public:
    explicit frmCredits(QWidget *parent = nullptr);
    ~frmCredits() override;

    // Fills the labels, places the version and starts the credits.
    void Form_Load();
    // Both close the window.
    void Form_Click();
    void picCredits_Click();
    // Stops the credits of this window.
    void Form_Unload();

    void done(int result) override;

    QLabel *imgTitle = nullptr;
    QLabel *lblTitle = nullptr;
    QLabel *lblVersion = nullptr;
    CreditsBox *picCredits = nullptr;

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
};
