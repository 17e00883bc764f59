#ifndef BOXMESSAGEHANDLER_H
#define BOXMESSAGEHANDLER_H

#include "dialogs/messagehandler.h"

// The handler the program runs with: parentless modal message boxes and the
// toolkit's file dialogs.
class BoxMessageHandler : public MessageHandler
{
public:
    void warning(const QString &text) override;
    void information(const QString &text) override;
    bool question(const QString &text) override;
    QString openFileName(QWidget *parent, const QString &caption, const QString &dir,
                         const QString &filter) override;
    QStringList openFileNames(QWidget *parent, const QString &caption, const QString &dir,
                              const QString &filter) override;
    QString saveFileName(QWidget *parent, const QString &caption, const QString &dir,
                         const QString &filter) override;
    QString folderName(QWidget *parent, const QString &caption, const QString &dir) override;
    int choice(QWidget *parent, const QString &caption, const QString &text, const QStringList &items) override;
    QString saveFileNameWithChoice(QWidget *parent, const QString &caption, const QString &dir,
                                   const QString &filters, QString *chosen) override;
};

#endif // BOXMESSAGEHANDLER_H
