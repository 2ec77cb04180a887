// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLGATE_XMLNATSTRANSPORT_H
#define ZQXMLGATE_XMLNATSTRANSPORT_H

#include <zqxmlgate/xmltransport.h>

#include <QString>

#include <memory>

/**
 * Carries frames over a NATS server or cluster. It connects, and connects again, until it is destroyed, with pauses
 * from 0.1 to 5 s. The client library works in threads of its own, and so does what is sent: no call waits for the
 * network. The destructor gives what waits 40 ms to be sent; a connection that hangs is then left to its thread, for
 * which the end of the process waits some seconds at most.
 *
 * A frame from SELF to PEER goes to the subject zq.BUS.to.PEER.from.SELF, so that the server's permissions can vouch
 * for the sender.
 */
class ZQXMLGATE_EXPORT XMLNatsTransport : public XMLTransport
{
    Q_OBJECT

public:
    /** Where the bus is, and what the server asks for. What is empty is not used. */
    struct Options {
        QString urls; ///< nats:// or tls:// addresses of one server or of a cluster, with commas between them
        QString bus = QStringLiteral("main"); ///< the part of the subjects that keeps buses of a server apart
        QString user; ///< with the password, where the addresses hold none
        QString password; ///< of the user
        QString token; ///< in place of user and password
        QString credentialsFile; ///< with a JWT and the key to sign with
        QString tlsCaFile; ///< PEM certificates that the server's is checked against, in place of the system's
        QString tlsCertificateFile; ///< PEM certificate that the server wants to see
        QString tlsKeyFile; ///< its key
        QString tlsHostName; ///< what the server's certificate is to name, in place of the host in the address
    };

    /** Makes a transport that connects as \a options say once it joins. */
    explicit XMLNatsTransport(const Options &options, QObject *parent = nullptr);

    /** Sends what waits, if there is a connection, and disconnects. */
    ~XMLNatsTransport() override;

    void join(const QByteArray &name) override;
    bool send(const QByteArray &to, const QByteArray &frame, bool probe) override;
    bool isConnected() const override;

    /** Returns \a text without the user and password that addresses in it may hold. */
    static QString withoutSecrets(const QString &text);

private:
    class Worker;

    const std::shared_ptr<Worker> ownWorker; // shared with its thread
};

#endif
