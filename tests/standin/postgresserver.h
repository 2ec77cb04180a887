// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef TESTS_STANDIN_POSTGRESSERVER_H
#define TESTS_STANDIN_POSTGRESSERVER_H

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <pwd.h>
#include <sys/socket.h>
#include <unistd.h>

/** A socket that listens on loopback and takes no connection. */
class Listener
{
public:
    Listener() : handle(::socket(AF_INET, SOCK_STREAM, 0))
    {
        sockaddr_in address = {};
        socklen_t size = sizeof address;
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ::bind(handle, reinterpret_cast<sockaddr *>(&address), size);
        ::getsockname(handle, reinterpret_cast<sockaddr *>(&address), &size);
        ::listen(handle, 5);
        port = ntohs(address.sin_port);
    }

    ~Listener()
    {
        ::close(handle);
    }
    Q_DISABLE_COPY(Listener)

    int port = 0;

private:
    const int handle;
};

/** A PostgreSQL server of its own, on loopback and a free port, which takes files of 4 MB at most. */
class PostgresServer
{
public:
    PostgresServer()
    {
        const QDir versions(QStringLiteral("/usr/lib/postgresql"));
        const QStringList names = versions.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
        if (names.isEmpty())
            return;
        programs = versions.filePath(names.last()) + QStringLiteral("/bin/");
        // The server refuses to run as root.
        const passwd *const account = ::geteuid() == 0 ? ::getpwnam("postgres") : nullptr;
        if (account && ::chown(QFile::encodeName(folder.path()).constData(), account->pw_uid, account->pw_gid) == 0)
            user = QStringLiteral("runuser -u postgres -- ");
        run(QStringLiteral("initdb -D '%1/data' -U postgres -A trust -E UTF8 --no-locale --no-sync --wal-segsize=1"));
        // What is known of a role with a password is asked first.
        run(QStringLiteral("sed -i '1i host all guarded 127.0.0.1/32 scram-sha-256' '%1/data/pg_hba.conf'"));
        port = Listener().port;
        start();
    }

    ~PostgresServer()
    {
        stop(QStringLiteral("immediate"));
    }
    Q_DISABLE_COPY(PostgresServer)

    bool isThere() const
    {
        return !programs.isEmpty();
    }

    void start()
    {
        run(QStringLiteral("ulimit -f 4096; pg_ctl -D '%1/data' -l '%1/log' -w start -o '-c listen_addresses=127.0.0.1"
                           " -c unix_socket_directories=%1 -c fsync=off -p %2'")
                .arg(folder.path(), QString::number(port)));
    }

    void stop(const QString &mode)
    {
        run(stopCommand(mode));
    }

    QString stopCommand(const QString &mode) const
    {
        return QStringLiteral("pg_ctl -D '%1/data' -w stop -m ").arg(folder.path()) + mode;
    }

    /** Runs a command of the shell as the server's user; %1 is the server's folder. */
    void run(const QString &command) const
    {
        std::system(shellOf(command).constData());
    }

    /** As run(), but does not wait for its end. */
    void runBeside(const QString &command) const
    {
        std::system(shellOf(command) + " &");
    }

    /** Returns the URL of a database for a role, which may have a password behind a colon. */
    QString url(const QString &database, const QString &role = QStringLiteral("postgres")) const
    {
        return QStringLiteral("qpsql://%1@127.0.0.1:%2/%3").arg(role, QString::number(port), database);
    }

    int port = 0;

private:
    QByteArray shellOf(QString command) const
    {
        command.replace(QLatin1String("%1"), folder.path());
        return QFile::encodeName(user
                                 + QStringLiteral("env PATH=\"%1:$PATH\" bash -c \"%2\" >>'%3/out' 2>&1")
                                       .arg(programs, command, folder.path()));
    }

    QTemporaryDir folder;
    QString programs;
    QString user;
};

#endif
