#ifndef IMAGEBOX_H
#define IMAGEBOX_H

#include <QDialog>
#include <QPixmap>

namespace Ui {
class ImageBox;
}

// Chooses, replaces and shows the picture of an image field. On OK the
// chosen file is copied into the record's folder (never overwriting) and its
// stored path, "record folder/file name", is announced with acceptedFile.
class ImageBox : public QDialog
{
    Q_OBJECT

public:
    explicit ImageBox(QWidget *parent = nullptr);
    ~ImageBox() override;

    // The record's folder, relative to the database folder ("TABLES_DOC/...").
    void setUserPath(const QString &folder);
    QString userPath() const { return recordFolder; }
    // The database file's folder with its trailing "/".
    void setDbFolder(const QString &folder);
    QString dbFolder() const { return documentsBase; }
    void setViewOnly(bool on) { viewOnly = on; }
    // Where a chosen picture waits until its record is saved; without one,
    // it is copied into place at once.
    void setPendingAttachments(class PendingAttachments *files) { pending = files; }
    bool isViewOnly() const { return viewOnly; }

    // Shows the picture stored at a path relative to the database folder,
    // fitted into 350x350 when it is larger.
    void showImage(const QString &storedPath);

    QString chosenFile() const { return chosen; }
    QPixmap loadedPixmap() const { return loaded; }
    QPixmap displayedPixmap() const { return displayed; }

signals:
    void acceptedFile(QString fileName);

public slots:
    void accepted();
    void rejected();
    void addReplace();
    void zoomOut();
    void zoomIn();
    void fitImage();

private:
    void display(const QPixmap &pixmap);

    Ui::ImageBox *ui;
    QString chosen;
    QString recordFolder;
    QString documentsBase;
    QPixmap loaded;
    QPixmap displayed;
    bool viewOnly = false;
    class PendingAttachments *pending = nullptr;
};

// Copies an attached file into documents base + record folder (created when
// missing) without overwriting, and gives the stored path "folder/name".
// A failed copy is silent: the stored path is given all the same.
QString copyAttachment(const QString &file, const QString &documentsBase, const QString &recordFolder);

#endif // IMAGEBOX_H
