// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "accounts.h"

#include <zqxml/xmlaction.h>
#include <zqxml/xmlpacket.h>

#include <QRandomGenerator>
#include <QtTest>

#include <functional>

namespace {

QDomDocument documentOf(XMLPacket &packet)
{
    XMLAction none;
    QDomElement element = packet.append(none);
    const QDomDocument document = element.ownerDocument();
    element.parentNode().removeChild(element);
    return document;
}

/** Changes packets at random, headers and names that no parser takes included. */
class Changes
{
public:
    explicit Changes(quint32 seed) : random(seed), tame(below(2) == 1) { }

    int below(int bound)
    {
        return random.bounded(bound);
    }

    // No element gets a second attribute, whose order in the text would be the toolkit's.
    void change(XMLPacket &packet, QDomDocument &document)
    {
        QDomElement e = document.documentElement();
        for (QDomElement child = e; !child.isNull() && below(4) > 0;) {
            e = child;
            child = (below(2) ? e.firstChild() : e.lastChild()).toElement();
        }
        const bool bare = e.attributes().isEmpty();
        const QString space = below(2) ? QStringLiteral("u") : below(2) ? QStringLiteral("v") : QStringLiteral("");
        const std::function<void()> steps[] = {
            [&] { e.appendChild(document.createElement(name())); },
            [&] { e.insertBefore(document.createElement(name()), e.firstChild()); },
            [&] { e.appendChild(document.createTextNode(below(2) ? QStringLiteral("t") : QStringLiteral("\n "))); },
            [&] { e.appendChild(document.createComment(QStringLiteral("c"))); },
            [&] { e.appendChild(document.createCDATASection(QStringLiteral("<x/>"))); },
            [&] { e.appendChild(document.createElementNS(space, below(2) ? QStringLiteral("p:a") : name())); },
            [&] { bare ? e.setAttribute(name(), below(2)) : void(); },
            [&] { bare ? e.setAttributeNS(space, QStringLiteral("n"), 1) : void(); },
            [&] { e.setTagName(name()); },
            [&] { e.parentNode().isElement() ? e.parentNode().removeChild(e) : QDomNode(); },
            [&] { document.appendChild(document.createComment(QStringLiteral("c"))); },
            [&] { document.insertBefore(document.createComment(QStringLiteral("c")), document.firstChild()); },
            [&] { packet.setDestinationAgentID(below(2)); },
        };
        steps[below(static_cast<int>(std::size(steps)))]();
    }

private:
    QString name()
    {
        static const char *const names[] = {"a",  "b",  "dst", "a b",  "a=",  "a/",
                                            "<a", "a>", "a\"", "a\nb", "src", "header"};
        return QString::fromLatin1(names[below(tame ? 2 : static_cast<int>(std::size(names)))]);
    }

    QRandomGenerator random;
    const bool tame;
};

} // namespace

/** Packets are equal when their texts are, whatever was done to them. */
class tst_Equality : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void packetsAsTheirTexts();
};

void tst_Equality::packetsAsTheirTexts()
{
    int equal = 0;
    for (quint32 seed = 0; seed < 5000; ++seed) {
        XMLPacket packets[2];
        QDomDocument documents[] = {documentOf(packets[0]), documentOf(packets[1])};
        for (const int each : {0, 1}) {
            packets[each].setDestinationAgentID(0);
            Changes changes(seed);
            for (int i = changes.below(6); i > 0; --i)
                changes.change(packets[each], documents[each]);
        }
        Changes more(seed + 1);
        for (int i = more.below(3); i > 0; --i)
            more.change(packets[1], documents[1]);
        const QString texts[] = {XMLObject::toString(documents[0]), XMLObject::toString(documents[1])};
        equal += texts[0] == texts[1];
        QVERIFY2((packets[0] == packets[1]) == (texts[0] == texts[1]), qPrintable(texts[0] + texts[1]));
    }
    QVERIFY2(equal > 1000 && equal < 4000, "the pairs must meet both cases");
}

ZQXML_TEST_MAIN(tst_Equality)
#include "tst_equality.moc"
