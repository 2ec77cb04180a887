// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "bus.h"

#include <zqxml/xmlrouter.h>

#include <QCommandLineParser>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QRegularExpression>

#include <iterator>
#include <list>

void addBusArguments(QCommandLineParser &parser)
{
    const auto text = [](const char *latin1) { return QString::fromLatin1(latin1); };
    parser.addOptions(
        {{text("bus"), text("The NATS server of the bus, or several with commas between."), text("URL")},
         {text("bus-name"), text("The bus at that server, 'main' by default."), text("NAME"), text("main")},
         {text("tls-ca"), text("Check the server against the certificates in this file."), text("FILE")},
         {text("tls-cert"), text("Show this certificate to the server."), text("FILE")},
         {text("tls-key"), text("The key of that certificate."), text("FILE")},
         {text("credentials"), text("Sign in with the credentials in this file."), text("FILE")}});
}

QString readBusArguments(const QCommandLineParser &parser, XMLNatsTransport::Options &options)
{
    options.urls = parser.value(QStringLiteral("bus"));
    options.bus = parser.value(QStringLiteral("bus-name"));
    options.tlsCaFile = parser.value(QStringLiteral("tls-ca"));
    options.tlsCertificateFile = parser.value(QStringLiteral("tls-cert"));
    options.tlsKeyFile = parser.value(QStringLiteral("tls-key"));
    options.credentialsFile = parser.value(QStringLiteral("credentials"));
    static const QRegularExpression address(QStringLiteral("^(nats|tls)://[^\\s,]+$"));
    for (const QString &url : options.urls.split(QLatin1Char(','))) {
        if (!address.match(url.trimmed()).hasMatch())
            return QStringLiteral("'%1' is no address of a NATS server: nats://HOST:PORT or tls://HOST:PORT")
                .arg(XMLNatsTransport::withoutSecrets(url));
    }
    static const QRegularExpression name(QStringLiteral("^[A-Za-z0-9_-]{1,64}$"));
    if (!name.match(options.bus).hasMatch())
        return QStringLiteral("--bus-name needs 1 to 64 letters, digits, - and _");
    if (options.tlsCertificateFile.isEmpty() != options.tlsKeyFile.isEmpty())
        return QStringLiteral("--tls-cert and --tls-key go together");
    for (const QString &file :
         {options.tlsCaFile, options.tlsCertificateFile, options.tlsKeyFile, options.credentialsFile}) {
        if (!file.isEmpty() && !QFileInfo(file).isReadable())
            return file + QStringLiteral(": cannot be read");
    }
    return QString();
}

QString readOptionalBus(const QCommandLineParser &parser, XMLNatsTransport::Options &options)
{
    if (parser.isSet(QStringLiteral("bus"))) {
        if (parser.isSet(QStringLiteral("database")))
            return QStringLiteral("--bus and --database do not go together");
        return readBusArguments(parser, options);
    }
    for (const QString &option : parser.optionNames()) {
        if (option.startsWith(QLatin1String("bus-")) || option.startsWith(QLatin1String("tls-"))
            || option == QLatin1String("credentials"))
            return QStringLiteral("--%1 goes with --bus only").arg(option);
    }
    return QString();
}

int anyAgentOfType(XMLRouter &router, int type)
{
    const std::list<int> agents = router.findAgentsOfType(type);
    if (agents.empty())
        return 0;
    return *std::next(agents.begin(), QRandomGenerator::global()->bounded(static_cast<int>(agents.size())));
}
