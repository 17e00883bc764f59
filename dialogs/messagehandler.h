#ifndef MESSAGEHANDLER_H
#define MESSAGEHANDLER_H

#include <QString>
#include <QStringList>

class QWidget;

// Every message, question and file choice the program puts to the user goes
// through the installed handler. The default one shows the real boxes and
// dialogs; tests install one that records what was said and answers for the user.
class MessageHandler
{
public:
    virtual ~MessageHandler();

    // Modal box with the warning icon and an Ok button.
    virtual void warning(const QString &text) = 0;
    // Modal box with the information icon.
    virtual void information(const QString &text) = 0;
    // Modal warning box with the buttons No and Yes; true only for Yes. No is
    // the default button: Return (or Esc) never confirms.
    virtual bool question(const QString &text) = 0;

    // File choices; an empty text (or list) means the user cancelled.
    virtual QString openFileName(QWidget *parent, const QString &caption, const QString &dir,
                                 const QString &filter) = 0;
    virtual QStringList openFileNames(QWidget *parent, const QString &caption, const QString &dir,
                                      const QString &filter) = 0;
    virtual QString saveFileName(QWidget *parent, const QString &caption, const QString &dir,
                                 const QString &filter) = 0;
    // A save choice among several forms, one filter each (";;" between
    // them); *chosen gets the filter of the chosen form. Unless a handler
    // offers the choice, the first form is taken.
    virtual QString saveFileNameWithChoice(QWidget *parent, const QString &caption, const QString &dir,
                                           const QString &filters, QString *chosen);

    // A folder to write into; empty when the user cancelled.
    virtual QString folderName(QWidget *parent, const QString &caption, const QString &dir)
    {
        Q_UNUSED(parent) Q_UNUSED(caption) Q_UNUSED(dir) return QString();
    }
    // One of items, by its position; -1 when the user cancelled.
    virtual int choice(QWidget *parent, const QString &caption, const QString &text, const QStringList &items)
    {
        Q_UNUSED(parent) Q_UNUSED(caption) Q_UNUSED(text) Q_UNUSED(items) return -1;
    }

    // The handler in use; the box-showing one unless another was installed.
    static MessageHandler *current();
    // Installs a handler (not owned); nullptr restores the default.
    static void install(MessageHandler *handler);
};

#endif // MESSAGEHANDLER_H
