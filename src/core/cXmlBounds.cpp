#include "core/cXmlBounds.h"

#include <algorithm>
#include <cstring>

namespace {

bool isSpace(int c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

bool isQuote(int c)
{
    return c == '"' || c == '\'';
}

bool isPredefined(const QString& name)
{
    static const char* const names[] = {"amp", "lt", "gt", "quot", "apos"};
    return std::any_of(std::begin(names), std::end(names), [&](const char* one) { return name == QLatin1String(one); });
}

/// The character of a reference such as "#65" or "#x41"; null when it is none.
QString characterOf(const QString& reference)
{
    const bool isHex = reference.startsWith(QLatin1String("#x"));
    const char32_t code = reference.mid(isHex ? 2 : 1).toUInt(nullptr, isHex ? 16 : 10);
    return code == 0 ? QString() : QString::fromUcs4(&code, 1);
}

} // namespace

cXmlBounds::cXmlBounds(const QString& document)
{
    m_levels.push_back({document, QString(), 0});
}

QString cXmlBounds::excess()
{
    passContent();
    return m_excess;
}

void cXmlBounds::passContent()
{
    for (int c = take(); c != End; c = take()) {
        if (c == '<')
            passMarkup();
        else if (c == '&')
            putIn(m_entities, takeReference());
    }
}

void cXmlBounds::passMarkup()
{
    switch (take()) {
    case '!':
        return passDeclaration();
    case '?':
        return passUntil("?>");
    case '/':
        --m_depth;
        return passUntil(">");
    default:
        return passTag();
    }
}

// Behind the first character of its name.
void cXmlBounds::passTag()
{
    int attributes = 0;
    int last = 0;
    for (int c = take(); c != End; last = c, c = take()) {
        if (c == '>') {
            if (++m_depth > MaxDepth)
                stop(QStringLiteral("elements nested deeper than %1 levels").arg(MaxDepth));
            if (last == '/')
                --m_depth;
            return;
        }
        if (!isQuote(c))
            continue;
        if (++attributes > MaxAttributes)
            stop(QStringLiteral("an element with more than %1 attributes").arg(MaxAttributes));
        passValue(c);
    }
}

// A quote in the text of an entity that is put in does not end the value.
void cXmlBounds::passValue(int quote)
{
    const size_t level = m_levels.size();
    for (int c = take(); c != End && (c != quote || m_levels.size() > level); c = take()) {
        if (c == '&')
            putIn(m_entities, takeReference());
    }
}

/// Passes what begins with "<!", wherever it stands.
void cXmlBounds::passDeclaration()
{
    const int first = take();
    if (first == '-') {
        take();
        return passUntil("-->");
    }
    if (first == '[')
        return passUntil("]]>");
    const QString word = readWord();
    if (first == 'D' && word == QLatin1String("OCTYPE"))
        return passDocumentType();
    if (first == 'E' && word == QLatin1String("NTITY"))
        readEntity();
    passRestOfDeclaration();
}

void cXmlBounds::passDocumentType()
{
    for (int c = take(); c != End && c != '>'; c = take()) {
        if (isQuote(c))
            passValue(c);
        else if (c == '[')
            passSubset();
    }
}

void cXmlBounds::passSubset()
{
    for (int c = take(); c != End && c != ']'; c = take()) {
        if (c == '%')
            putIn(m_parameters, takeReference());
        else if (c == '<' && take() == '!')
            passDeclaration();
        else if (c == '<')
            passUntil("?>");
    }
}

void cXmlBounds::passRestOfDeclaration()
{
    int nesting = 0;
    for (int c = take(); c != End && c != '>'; c = take()) {
        if (isQuote(c))
            passValue(c);
        else if (c == '%')
            putIn(m_parameters, takeReference());
        else if (c == ')')
            --nesting;
        else if (c == '(' && ++nesting > MaxContentModel)
            stop(QStringLiteral("a content model nested deeper than %1 levels").arg(MaxContentModel));
    }
}

void cXmlBounds::passUntil(const char* end)
{
    const int length = int(std::strlen(end));
    if (m_levels.size() == 1) {
        Level& document = m_levels.back();
        const int at = document.text.indexOf(QLatin1String(end), document.at);
        document.at = at < 0 ? document.text.size() : at + length;
        return;
    }
    QString last;
    for (int c = take(); c != End; c = take()) {
        last.append(QChar(c));
        if (last.size() > length)
            last.remove(0, 1);
        if (last == QLatin1String(end))
            return;
    }
}

// The first declaration of a name counts. What has its text elsewhere is not put in.
void cXmlBounds::readEntity()
{
    int c = takeBehindSpaces();
    const bool isParameter = c == '%';
    if (isParameter)
        c = takeBehindSpaces();
    if (c == End)
        return;
    giveBack();
    const QString name = readWord();
    c = takeBehindSpaces();
    if (!isQuote(c)) {
        if (c != End)
            giveBack();
        return;
    }
    const QString value = readEntityValue(c);
    countEntity(value);
    Entities& entities = isParameter ? m_parameters : m_entities;
    if (!entities.contains(name))
        entities.insert(name, value);
}

void cXmlBounds::countEntity(const QString& value)
{
    m_declaredText += value.size();
    if (++m_declared > MaxEntities)
        stop(QStringLiteral("a document type with more than %1 entities").arg(MaxEntities));
    if (m_declared * m_declaredText > MaxComparisons)
        stop(QStringLiteral("a document type with too many entities of too much text"));
}

// References to characters and parameters are replaced at once, those to entities where the entity is put in.
QString cXmlBounds::readEntityValue(int quote)
{
    const size_t level = m_levels.size();
    QString value;
    for (int c = take(); c != End && (c != quote || m_levels.size() > level); c = take()) {
        const bool isReference = c == '&' || c == '%';
        const QString name = isReference ? takeReference() : QString();
        if (c == '%' && putIn(m_parameters, name))
            continue;
        if (c == '&' && name.startsWith(QLatin1Char('#')))
            value += characterOf(name);
        else if (name.isEmpty())
            value += QChar(c);
        else
            value += QChar(c) + name + QLatin1Char(';');
    }
    return value;
}

QString cXmlBounds::readWord()
{
    QString word;
    int c = take();
    for (; c != End && !isSpace(c) && c != '>' && c != '[' && !isQuote(c); c = take())
        word.append(QChar(c));
    if (c != End)
        giveBack();
    return word;
}

int cXmlBounds::take()
{
    while (m_levels.size() > 1 && m_levels.back().at == m_levels.back().text.size())
        m_levels.pop_back();
    Level& level = m_levels.back();
    if (level.at == level.text.size() || !m_excess.isEmpty())
        return End;
    return level.text.at(level.at++).unicode();
}

int cXmlBounds::takeBehindSpaces()
{
    int c = take();
    while (isSpace(c))
        c = take();
    return c;
}

/// Takes a reference behind its "&" or "%". @return its name; null, with nothing taken, when there is none.
QString cXmlBounds::takeReference()
{
    Level& level = m_levels.back();
    int end = level.at;
    const auto isInName = [](QChar c) { return !isSpace(c.unicode()) && !QLatin1String("&%<>\"'").contains(c); };
    while (end < level.text.size() && level.text.at(end) != u';' && isInName(level.text.at(end)))
        ++end;
    if (end == level.text.size() || level.text.at(end) != u';')
        return QString();
    const QString name = level.text.mid(level.at, end - level.at);
    level.at = end + 1;
    return name;
}

/// Goes on in the text of the entity @p name. @return false when it is none that has been declared.
bool cXmlBounds::putIn(const Entities& entities, const QString& name)
{
    const auto entity = entities.constFind(name);
    if (entity == entities.constEnd() || isPredefined(name))
        return false;
    const QString key = QLatin1Char(&entities == &m_parameters ? '%' : '&') + name;
    if (std::any_of(m_levels.begin(), m_levels.end(), [&](const Level& level) { return level.entity == key; }))
        stop(QStringLiteral("the entity \"%1\" contains itself").arg(name));
    m_entityText += entity->size();
    if (m_entityText > MaxEntityText)
        stop(QStringLiteral("the document's own entities make more than %1 characters").arg(MaxEntityText));
    m_levels.push_back({*entity, key, 0});
    return true;
}

void cXmlBounds::stop(const QString& reason)
{
    if (!m_excess.isEmpty())
        return;
    const QString passed = m_levels.front().text.left(m_levels.front().at);
    const int line = passed.count(QLatin1Char('\n')) + 1;
    const int column = passed.size() - passed.lastIndexOf(QLatin1Char('\n')) - 1;
    m_excess = QStringLiteral("line %1, column %2: %3").arg(QString::number(line), QString::number(column), reason);
}
