// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef TESTS_TESTTOOLS_H
#define TESTS_TESTTOOLS_H

#include "accounts.h"

#include <recordlib/zqapp.h>

#include <QByteArray>
#include <QDomElement>
#include <QFile>
#include <QRandomGenerator>
#include <QStringList>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

/**
 * Returns \a n and what is below it on one line, with attributes in the order of their names and text in quotes:
 * item[datatype=1f](1[value=abc] 3[size=1](value("10")))
 */
inline QString dump(const QDomNode &n)
{
    if (n.isText())
        return QLatin1Char('"') + n.nodeValue() + QLatin1Char('"');
    if (!n.isElement())
        return n.isNull() ? QStringLiteral("null") : QStringLiteral("<") + n.nodeName() + QLatin1Char('>');
    QString text = n.nodeName();
    QStringList attributes;
    for (int i = 0; i < n.attributes().length(); ++i) {
        const QDomNode attribute = n.attributes().item(i);
        attributes << attribute.nodeName() + QLatin1Char('=') + attribute.nodeValue();
    }
    attributes.sort();
    if (!attributes.isEmpty())
        text += QLatin1Char('[') + attributes.join(QLatin1Char(' ')) + QLatin1Char(']');
    QStringList children;
    for (QDomNode child = n.firstChild(); !child.isNull(); child = child.nextSibling())
        children << dump(child);
    if (!children.isEmpty())
        text += QLatin1Char('(') + children.join(QLatin1Char(' ')) + QLatin1Char(')');
    return text;
}

/** A record that gives a text of the test's own. */
class TextRecord : public ZQPacketable
{
public:
    explicit TextRecord(const QByteArray &packetText, PACKETDATATYPES type = PACKETDATATYPES(0x1f))
        : ZQPacketable(type), text(packetText)
    {
    }

    char *toPacket(unsigned int &length) override
    {
        if (text.isNull())
            return nullptr;
        length = static_cast<unsigned int>(text.size());
        // Exactly as long as the text, so that reading past its end is seen.
        char *const buffer = static_cast<char *>(std::malloc(length ? length : 1));
        std::memcpy(buffer, text.constData(), length);
        return buffer;
    }

private:
    QByteArray text;
};

/** Returns the packet text of \a record. */
inline QByteArray packetTextOf(ZQPacketable &record)
{
    unsigned int length = 0;
    const std::unique_ptr<char, decltype(&std::free)> text(record.toPacket(length), &std::free);
    return QByteArray(text.get(), static_cast<int>(length));
}

/** Reads \a text into \a record; false when it is none of the record's type. */
inline bool readPacketText(ZQPacketable &record, const QByteArray &text)
{
    // A copy without the zero byte behind it, so that reading past its end is seen.
    std::vector<char> bytes(text.cbegin(), text.cend());
    return record.fromPacket(bytes.data(), static_cast<unsigned int>(bytes.size()), false, true);
}

/**
 * Draws what happens next, from a seed. Whatever answers a call with the same call would go on for ever, so that what
 * happens in all is bounded here.
 */
class Mischief
{
public:
    explicit Mischief(quint32 seed) : random(seed) { }

    int below(int bound)
    {
        return random.bounded(bound);
    }

    template <typename Container>
    auto oneOf(const Container &container)
    {
        return *std::next(std::begin(container), below(static_cast<int>(std::size(container))));
    }

    bool goesOn()
    {
        return budget-- > 0;
    }

private:
    QRandomGenerator random;
    int budget = 60;
};

inline QString shown(const QString &text)
{
    return text.isNull() ? QStringLiteral("null") : QLatin1Char('"') + text + QLatin1Char('"');
}

template <typename Number>
QString shown(const QList<Number> &numbers)
{
    QString text;
    for (const Number number : numbers)
        text += QStringLiteral("%1 ").arg(number);
    return QLatin1Char('[') + text.trimmed() + QLatin1Char(']');
}

template <typename Value>
QString shown(const Value &value)
{
    if constexpr (std::is_base_of_v<QDomNode, Value>)
        return dump(value);
    else
        return QVariant(value).toString();
}

/** Notes what an expression gives, in the list \c notes. */
#define NOTE(expression) (notes << QStringLiteral(#expression " = ") + shown(expression))

/** Compares \a notes with those that the file keeps for the present test function, and clears them. */
inline void compareWithKept(QStringList &notes, const QString &path)
{
    QFile file(path);
    QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(file.errorString()));
    const QString heading = QStringLiteral("[%1]\n").arg(QLatin1String(QTest::currentTestFunction()));
    const QString kept = QString::fromUtf8(file.readAll()).section(heading, 1).section(QStringLiteral("\n\n"), 0, 0);
    QString text = std::exchange(notes, {}).join(QLatin1Char('\n'));
    for (QChar &c : text) {
        if (c < QLatin1Char(' ') && c != QLatin1Char('\n'))
            c = QChar(0x2400 + c.unicode()); // a picture of the control character
    }
    if (text != kept.trimmed())
        QFAIL(qPrintable(QStringLiteral("not as kept:\n") + heading + text));
}

/** Compares the logs of what a plain model and the library do by the same seeds, known ones and new ones. */
template <typename Model, typename Subject>
void compareBySeeds(quint32 count)
{
    for (const quint32 first : {0u, QRandomGenerator::global()->generate()}) {
        for (quint32 i = 0; i < count; ++i) {
            const QStringList expected = Model(first + i).log;
            const QStringList log = Subject(first + i).log;
            if (log == expected)
                continue;
            const auto same = std::mismatch(log.begin(), log.end(), expected.begin(), expected.end()).first;
            const int at = int(same - log.begin());
            QFAIL(qPrintable(
                QStringLiteral("seed %1, line %2: %3 instead of %4")
                    .arg(QString::number(first + i), QString::number(at), log.value(at), expected.value(at))));
        }
    }
}

/** Returns the methods of \a meta without those that it inherits, each with its access, in their order. */
inline QString methodsOf(const QMetaObject &meta)
{
    static const char *const accesses[] = {"private ", "protected ", "public "};
    QStringList methods;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
        methods << QString::fromLatin1(accesses[meta.method(i).access()] + meta.method(i).methodSignature());
    return methods.join(QStringLiteral(", "));
}

#endif
