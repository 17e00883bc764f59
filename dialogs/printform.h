#ifndef PRINTFORM_H
#define PRINTFORM_H

#include <QDialog>

namespace Ui {
class PrintForm;
}

// Asks what to print (or put in a PDF): the record shown, or the list as it
// stands with the fields chosen for its columns.
class PrintForm : public QDialog
{
    Q_OBJECT

public:
    explicit PrintForm(QWidget *parent = nullptr);
    ~PrintForm() override;

    // record: the text of the record shown, empty when none is; records: how
    // many the list holds; filtered: whether a filter left them.
    void setChoices(const QString &record, int records, bool filtered);
    // The fields a list can print, and which of them are chosen.
    void setColumns(const QStringList &titles, const QList<bool> &chosen);
    void chooseList(bool list);
    // Ok's text: what happens next ("Anteprima...", "Salva...").
    void setAcceptText(const QString &text);

    bool listChosen() const;
    QList<bool> chosenColumns() const;

private:
    void checkAll(bool on);
    void update();

    Ui::PrintForm *ui;
};

#endif // PRINTFORM_H
