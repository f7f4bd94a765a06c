// One Tarn per user: a second launch hands its files to the running one and exits.
#pragma once

#include <QObject>
#include <QStringList>

#include <memory>

class QLocalServer;
class QLockFile;

class SingleInstance : public QObject
{
    Q_OBJECT

public:
    // `key` names the socket (a path puts it there); the default is per user and display.
    explicit SingleInstance(const QString &key = defaultKey(), QObject *parent = nullptr);
    ~SingleInstance() override;

    static QString defaultKey();

    // Sends `files` (absolute paths) to a running instance. True when one took them; then the
    // caller should exit.
    bool handOver(const QStringList &files, int timeoutMs = 2000) const;
    // Becomes the running instance. A socket left behind by a crashed instance is replaced;
    // false when another live instance holds the name. Only this user can connect.
    bool listen();
    // The socket file, and beside it the lock file (".lock" added) that guards its name.
    QString socketPath() const;

signals:
    // A later launch asked to open these files (possibly none) and to be shown.
    void activationRequested(const QStringList &files);

private:
    void readConnection();

    QString m_key;
    QLocalServer *m_server = nullptr;
    std::unique_ptr<QLockFile> m_lock;
};
