// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLGATE_XMLTRANSPORT_H
#define ZQXMLGATE_XMLTRANSPORT_H

#include <zqxmlgate/zqxmlgate_export.h>

#include <QByteArray>
#include <QObject>

#include <deque>
#include <map>
#include <mutex>

/**
 * Carries the frames of an XMLGateway to others by their names. A transport promises little: a frame may get lost, come
 * twice or out of turn, but never changed. It never blocks its caller.
 *
 * A derived class gives what comes to put(), from any thread. Everything else happens on the thread of the object.
 */
class ZQXMLGATE_EXPORT XMLTransport : public QObject
{
    Q_OBJECT

public:
    /** What has come. */
    struct Arrival {
        QByteArray sender; ///< the name, for which the transport vouches as far as its server does
        QByteArray frame; ///< as it was given to send()
        bool absent; ///< no frame: nobody has the name \c sender
    };

    explicit XMLTransport(QObject *parent = nullptr); ///< Makes a transport that is not connected.

    /** Begins to connect, and to receive under \a name. Called once. */
    virtual void join(const QByteArray &name) = 0;

    /**
     * Sends \a frame to all who have the name \a to, or with \c "all" to everybody else. With \a probe an Arrival says
     * so when nobody has the name, if the transport can tell. False when the frame cannot be taken now; writable() says
     * when it is worth another try.
     */
    virtual bool send(const QByteArray &to, const QByteArray &frame, bool probe) = 0;

    /** Returns whether frames can be sent. */
    virtual bool isConnected() const = 0;

    /** Takes the oldest frame that has come; false when there is none, and then arrived() says when there is. */
    bool take(Arrival &arrival);

Q_SIGNALS:
    void connectedChanged(bool connected); ///< The connection is there, or is not any more.
    void arrived(); ///< Frames have come.
    void writable(); ///< Frames are taken again.
    void failed(const QString &line); ///< Something went wrong, said in one line.

protected:
    /**
     * Keeps what has come until it is taken. What goes beyond 64 MiB in all, or 8 MiB from one sender, is dropped. May
     * be called on any thread.
     */
    void put(const Arrival &arrival);

private:
    std::mutex mutex;
    std::deque<Arrival> inbox;
    std::map<QByteArray, qint64> bytesOf; // of each sender in the inbox
    qint64 allBytes;
    bool announced;
};

#endif
