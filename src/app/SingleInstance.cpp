// A local socket per user; the message is a JSON array of paths followed by a newline.
#include "SingleInstance.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QLocalServer>
#include <QLocalSocket>

#include <unistd.h>

SingleInstance::SingleInstance(const QString &key, QObject *parent)
    : QObject(parent)
    , m_key(key)
{}

SingleInstance::~SingleInstance() = default;

QString SingleInstance::defaultKey()
{
    return QStringLiteral("tarn-%1").arg(::getuid());
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
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    if (!m_server->listen(m_key)) {
        // Nobody answered handOver, so the socket is stale: remove it and try once more.
        QLocalServer::removeServer(m_key);
        if (!m_server->listen(m_key))
            return false;
    }
    connect(m_server, &QLocalServer::newConnection, this, &SingleInstance::readConnection);
    return true;
}

void SingleInstance::readConnection()
{
    while (QLocalSocket *socket = m_server->nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
            if (!socket->canReadLine())
                return;
            const QJsonDocument document = QJsonDocument::fromJson(socket->readLine());
            if (!document.isArray()) {
                socket->disconnectFromServer(); // not one of ours; ignore it
                return;
            }
            QStringList files;
            for (const QJsonValue &value : document.array()) {
                if (value.isString())
                    files << value.toString();
            }
            socket->write("ok\n");
            socket->flush();
            emit activationRequested(files);
        });
    }
}
