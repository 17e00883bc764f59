#ifndef ABOUTFORM_H
#define ABOUTFORM_H

#include <QDialog>

namespace Ui {
class AboutForm;
}

// The About box: program name, kind, version, author and two links.
class AboutForm : public QDialog
{
    Q_OBJECT

public:
    explicit AboutForm(QWidget *parent = nullptr);
    ~AboutForm() override;

    void setType(const QString &type);
    void setVersion(const QString &version);
    void setAutor(const QString &autor);

public slots:
    void linkActivated(const QString &link);

private:
    Ui::AboutForm *ui;
};

#endif // ABOUTFORM_H
