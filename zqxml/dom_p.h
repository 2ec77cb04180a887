// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXML_DOM_P_H
#define ZQXML_DOM_P_H

#include <QDomElement>
#include <QDomImplementation>

/**
 * Lets the toolkit create elements and text of any characters while it lives, and then restores the policy of the
 * process. Record elements are named by numbers, and an application's policy, or the default of a newer toolkit,
 * would refuse or cut such names.
 */
class AcceptAnyCharacter
{
public:
    AcceptAnyCharacter()
    {
        if (found != QDomImplementation::AcceptInvalidChars)
            QDomImplementation::setInvalidDataPolicy(QDomImplementation::AcceptInvalidChars);
    }
    ~AcceptAnyCharacter()
    {
        if (found != QDomImplementation::AcceptInvalidChars)
            QDomImplementation::setInvalidDataPolicy(found);
    }
    Q_DISABLE_COPY(AcceptAnyCharacter)

private:
    const QDomImplementation::InvalidDataPolicy found = QDomImplementation::invalidDataPolicy();
};

/** Returns the text() of \a element, never null; shares the string of a single text node instead of copying it. */
inline QString textOf(const QDomElement &element)
{
    const QDomNode first = element.firstChild();
    if (first.nodeType() != QDomNode::TextNode || !first.nextSibling().isNull())
        return element.text();
    const QString value = first.nodeValue();
    return value.isNull() ? QStringLiteral("") : value;
}

#endif
