// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXML_DOM_P_H
#define ZQXML_DOM_P_H

#include <QDomDocument>

/**
 * \file
 * Every element and text node of this library is made here. Record elements are named by numbers, and the toolkit would
 * refuse or cut such a name, depending on a policy of the process. It asks for the policy when it makes a node, and not
 * when it changes one: so each is made with what no policy minds, and then given its name or text.
 */

namespace zqxml {

/** Returns a new element \a name of no namespace, which hangs nowhere; null for an empty name. */
inline QDomElement newElement(QDomDocument &document, const QString &name)
{
    if (name.isEmpty())
        return QDomElement();
    QDomElement element = document.createElement(QStringLiteral("e"));
    element.setTagName(name);
    return element;
}

/** Returns a new element \a qualifiedName in \a namespaceURI, which hangs nowhere; null for an empty local name. */
inline QDomElement newElement(QDomDocument &document, const QString &namespaceURI, const QString &qualifiedName)
{
    const auto colon = qualifiedName.indexOf(QLatin1Char(':'));
    if (colon + 1 == qualifiedName.size())
        return QDomElement();
    if (colon < 0) {
        QDomElement element = document.createElementNS(namespaceURI, QStringLiteral("e"));
        element.setTagName(qualifiedName);
        return element;
    }
    QDomElement element = document.createElementNS(namespaceURI, QStringLiteral("e:e"));
    element.setPrefix(qualifiedName.left(colon));
    element.setTagName(qualifiedName.mid(colon + 1));
    return element;
}

/** Returns a new text node, which hangs nowhere. */
inline QDomText newText(QDomDocument &document, const QString &text)
{
    QDomText node = document.createTextNode(QStringLiteral(""));
    node.setNodeValue(text);
    return node;
}

/**
 * Frees \a element, which hangs nowhere, of its link to its document. The toolkit keeps that link when the document
 * goes, unless the element hangs in the document then.
 */
inline void forgetDocument(const QDomElement &element)
{
    QDomDocument passing;
    QDomElement parent = newElement(passing, QStringLiteral("e"));
    passing.appendChild(parent);
    parent.appendChild(element);
}

/** Returns the text() of \a element, never null; shares the string of a single text node instead of copying it. */
inline QString textOf(const QDomElement &element)
{
    const QDomNode first = element.firstChild();
    if (first.nodeType() != QDomNode::TextNode || !first.nextSibling().isNull())
        return element.text();
    const QString value = first.nodeValue();
    return value.isNull() ? QStringLiteral("") : value;
}

} // namespace zqxml

#endif
