// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

// Looks at packets outside the process: those in the wire form, and those that were printed.

#include "packetinput.h"
#include "toolsupport.h"

#include <zqxml/xmlpacket.h>
#include <zqxmlkit/xmlpacketdiff.h>
#include <zqxmlkit/xmlwire.h>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QRegularExpression>

#include <algorithm>

namespace {

/** Returns \a wire as XMLPacket::print() would print it, but with attributes in the order of their names. */
QByteArray toPrinted(const QByteArray &wire)
{
    const QString text = QString::fromUtf8(wire);
    // Printing has no words for where one text ends and the next begins.
    static const QRegularExpression piece(QStringLiteral("<!--.*?-->|<!\\[CDATA\\[.*?\\]\\]>|<[^>]*>|[^<]+"),
                                          QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression escape(QStringLiteral("_x([0-9A-F]{4})_"));
    QString printed;
    int depth = 0;
    bool besideText = true;
    for (auto pieces = piece.globalMatch(text); pieces.hasNext();) {
        const QString each = pieces.next().captured();
        const bool isText = !each.startsWith(QLatin1Char('<')) || each.startsWith(QLatin1String("<![CDATA["))
            || each == QLatin1String("<?t?>");
        const bool isEnd = each.startsWith(QLatin1String("</"));
        depth -= isEnd ? 1 : 0;
        if (!isText && !besideText)
            printed += QLatin1Char('\n') + QString(depth, QLatin1Char(' '));
        if (each != QLatin1String("<?t?>"))
            printed += each;
        besideText = isText;
        const bool isStart =
            !isText && !isEnd && !each.startsWith(QLatin1String("<!")) && !each.endsWith(QLatin1String("/>"));
        depth += isStart ? 1 : 0;
    }
    int from = 0;
    QString unescaped;
    for (auto escapes = escape.globalMatch(printed); escapes.hasNext();) {
        const QRegularExpressionMatch match = escapes.next();
        const ushort unit = match.captured(1).toUShort(nullptr, 16);
        if (QChar::isSurrogate(unit))
            continue; // has no form in UTF-8
        unescaped += printed.mid(from, match.capturedStart() - from) + QChar(unit);
        from = static_cast<int>(match.capturedEnd());
    }
    return (unescaped + printed.mid(from)).toUtf8() + '\n';
}

int check(const InputPackets &packets)
{
    QByteArray lines;
    for (const InputPacket &packet : packets)
        lines += packet.place.toUtf8()
            + (packet.isPrinted         ? ": printed\n"
                   : packet.isCanonical ? ": wire form\n"
                                        : ": XML, not canonical\n");
    return printOut(lines);
}

int show(const InputPackets &packets, bool pretty)
{
    QByteArray text;
    for (const InputPacket &packet : packets)
        text += pretty ? toPrinted(packet.wire) : packet.wire + '\n';
    return printOut(text);
}

int diff(const InputPackets &left, const InputPackets &right)
{
    QByteArray text;
    for (std::size_t i = 0; i < std::max(left.size(), right.size()); ++i) {
        if (i >= left.size() || i >= right.size()) {
            text += "only " + (i < left.size() ? left[i] : right[i]).place.toUtf8() + '\n';
            continue;
        }
        if (left[i].wire == right[i].wire)
            continue;
        const auto a = XMLWire::toPacket(left[i].wire);
        const auto b = XMLWire::toPacket(right[i].wire);
        text +=
            left[i].place.toUtf8() + " and " + right[i].place.toUtf8() + '\n' + XMLPacketDiff(*a, *b).toText().toUtf8();
    }
    const int status = printOut(text);
    return status == Success && !text.isEmpty() ? Failure : status;
}

int run(const QString &command, const QStringList &files)
{
    std::vector<InputPackets> inputs;
    QStringList errors;
    for (const QString &file : files) {
        QString error;
        inputs.emplace_back();
        if (!readPackets(file, inputs.back(), &error))
            errors << error;
    }
    int status = Success;
    if (command == QLatin1String("diff") && errors.isEmpty())
        status = diff(inputs[0], inputs[1]);
    if (command != QLatin1String("diff")) {
        InputPackets all;
        for (const InputPackets &packets : inputs)
            all.insert(all.end(), packets.cbegin(), packets.cend());
        status = command == QLatin1String("check") ? check(all) : show(all, command == QLatin1String("pretty"));
    }
    for (const QString &error : std::as_const(errors))
        status = fail(error);
    return status;
}

} // namespace

int main(int argc, char **argv)
{
    prepareTool("zqxml-packet");
    const QCoreApplication application(argc, argv);

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Reads packets in the wire form, or as they are printed, from files or standard input.\n"
                       "  check   says for each packet in which form it is\n"
                       "  pretty  prints each for people\n"
                       "  wire    prints each in the wire form, on a line of its own\n"
                       "  diff    prints what differs between the packets of two files"));
    parser.addPositionalArgument(QStringLiteral("command"), QStringLiteral("One of check, pretty, wire, diff."));
    parser.addPositionalArgument(QStringLiteral("file"), QStringLiteral("- or none is standard input; diff takes two."),
                                 QStringLiteral("[file...]"));
    if (const auto status = parseCommandLine(parser))
        return *status;
    QStringList files = parser.positionalArguments();
    const QString command = files.isEmpty() ? QString() : files.takeFirst();
    if (!QStringList{QStringLiteral("check"), QStringLiteral("pretty"), QStringLiteral("wire"), QStringLiteral("diff")}
             .contains(command))
        return fail(QStringLiteral("one of check, pretty, wire, diff is needed"), WrongUsage);
    if (files.isEmpty())
        files << QStringLiteral("-");
    if (command == QLatin1String("diff") && files.size() != 2)
        return fail(QStringLiteral("diff needs two files"), WrongUsage);
    if (files.count(QStringLiteral("-")) > 1)
        return fail(QStringLiteral("standard input can be read once only"), WrongUsage);
    return run(command, files);
}
