// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLGATE_XMLPIPETRANSPORT_H
#define ZQXMLGATE_XMLPIPETRANSPORT_H

#include <zqxmlgate/xmltransport.h>

#include <QRandomGenerator>

#include <map>
#include <memory>
#include <mutex>
#include <vector>

class XMLPipeTransport;

/** Joins the transports of several threads of a process, in memory. Any thread may use it. */
class ZQXMLGATE_EXPORT XMLPipe
{
public:
    /** How often something goes wrong with a frame, from 0 to 1; for tests. */
    struct Faults {
        double loss = 0; ///< the frame is lost
        double duplication = 0; ///< it comes twice
        double reordering = 0; ///< it comes after the next one for the same receiver
        quint32 seed = 0; ///< what the fates are drawn from
    };

    XMLPipe(); ///< Makes a pipe in which nothing goes wrong.
    explicit XMLPipe(const Faults &faults); ///< Makes a pipe in which something goes wrong.
    ~XMLPipe();

    /** Takes the connection away from all, or gives it back; for tests. */
    void setConnected(bool connected);

private:
    friend class XMLPipeTransport;

    bool carry(XMLPipeTransport *from, const QByteArray &to, const QByteArray &frame, bool probe);
    void drop(XMLPipeTransport *to, const XMLTransport::Arrival &arrival);
    bool happens(double chance);

    XMLPipe(const XMLPipe &) = delete;
    XMLPipe &operator=(const XMLPipe &) = delete;

    std::mutex mutex;
    const Faults faults;
    QRandomGenerator random;
    bool isUp;
    std::vector<XMLPipeTransport *> ends;
    std::map<XMLPipeTransport *, XMLTransport::Arrival> heldBack;
};

/** One end of an XMLPipe. */
class ZQXMLGATE_EXPORT XMLPipeTransport : public XMLTransport
{
    Q_OBJECT

public:
    /** Makes an end of \a pipe, which is kept as long as it has one. */
    explicit XMLPipeTransport(std::shared_ptr<XMLPipe> pipe, QObject *parent = nullptr);
    ~XMLPipeTransport() override;

    void join(const QByteArray &name) override;
    bool send(const QByteArray &to, const QByteArray &frame, bool probe) override;
    bool isConnected() const override;

private:
    friend class XMLPipe;

    const std::shared_ptr<XMLPipe> ownPipe;
    QByteArray ownName; // set under the pipe's lock
};

#endif
