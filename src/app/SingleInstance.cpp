// A local socket per user; the message is a JSON array of paths followed by a newline.
#include "SingleInstance.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>

#include <unistd.h>

namespace {
constexpr qint64 kMaximumMessageSize = 4 * 1024 * 1024;
}

SingleInstance::SingleInstance(const QString &key, QObject *parent)
    : QObject(parent)
    , m_key(key)
{}

SingleInstance::~SingleInstance()
{
    // The socket goes before the lock that guards its name.
    delete m_server;
}

QString SingleInstance::defaultKey()
{
    // One instance per user and display: a second X server (a test run under Xvfb, another
    // seat) gets a Tarn of its own.
    QString display = qEnvironmentVariable("WAYLAND_DISPLAY");
    if (display.isEmpty())
        display = qEnvironmentVariable("DISPLAY");
    QString key = QStringLiteral("tarn-%1").arg(::getuid());
    if (!display.isEmpty()) {
        for (QChar &c : display) {
            if (!c.isLetterOrNumber())
                c = u'_';
        }
        key += u'-' + display;
    }
    return key;
}

bool SingleInstance::handOver(const QStringList &files, int timeoutMs) const
{
    QLocalSocket socket;
    socket.connectToServer(m_key);
    if (!socket.waitForConnected(timeoutMs))
        return false;
    QByteArray message =
        QJsonDocument(QJsonArray::fromStringList(files)).toJson(QJsonDocument::Compact);
    message.append('\n');
    socket.write(message);
    if (!socket.waitForBytesWritten(timeoutMs))
        return false;
    // The running instance answers once it has taken the files, so nothing is lost if it
    // dies between accepting the connection and reading.
    if (!socket.waitForReadyRead(timeoutMs))
        return false;
    return socket.readAll().startsWith("ok");
}

bool SingleInstance::listen()
{
    // Whoever holds the lock owns the socket's name, so a socket found there was left by an
    // instance that died and can go, without racing another launch starting at the same time.
    auto lock = std::make_unique<QLockFile>(socketPath() + QStringLiteral(".lock"));
    lock->setStaleLockTime(0); // only a live process keeps it, however long it runs
    if (!lock->tryLock(0))
        return false;
    QLocalServer::removeServer(m_key);
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    if (!m_server->listen(m_key))
        return false;
    m_lock = std::move(lock);
    connect(m_server, &QLocalServer::newConnection, this, &SingleInstance::readConnection);
    return true;
}

QString SingleInstance::socketPath() const
{
    // Where QLocalServer puts a socket named without a folder.
    return QDir::isAbsolutePath(m_key) ? m_key : QDir(QDir::tempPath()).filePath(m_key);
}

void SingleInstance::readConnection()
{
    while (QLocalSocket *socket = m_server->nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
            if (!socket->canReadLine()) {
                if (socket->bytesAvailable() > kMaximumMessageSize)
                    socket->abort(); // no list of paths is this long; not one of ours
                return;
            }
            const QJsonDocument document = QJsonDocument::fromJson(socket->readLine());
            if (!document.isArray()) {
                socket->disconnectFromServer(); // not one of ours; ignore it
                return;
            }
            QStringList files;
            for (const QJsonValue &value : document.array()) {
                if (!value.isString()) {
                    socket->disconnectFromServer(); // a list, but not of paths
                    return;
                }
                files << value.toString();
            }
            socket->write("ok\n");
            socket->flush();
            // Not from inside this handler: opening the files may ask a modal question, whose
            // event loop sees the other launch hang up and deletes this socket under us.
            QMetaObject::invokeMethod(
                this, [this, files] { emit activationRequested(files); }, Qt::QueuedConnection);
        });
    }
}
