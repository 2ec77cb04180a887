// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include <zqxml/xmlrouter.h>
#include <zqxmlgate/xmlgateway.h>
#include <zqxmlgate/xmlnatstransport.h>
#include <zqxmlgate/xmlpipetransport.h>

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const XMLNatsTransport unused({});
    XMLRouter router(nullptr);
    XMLGateway gateway(&router, std::make_unique<XMLPipeTransport>(std::make_shared<XMLPipe>()));
    QObject::connect(&gateway, &XMLGateway::joined, [] { QCoreApplication::quit(); });
    QCoreApplication::exec();
    std::printf("%s says: Plates are ready\n", gateway.name().toUtf8().constData());
}
