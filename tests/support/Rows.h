#pragma once

#include <QtTest/QTestData>
#include <QtTest/QtTest>

#include <tuple>

/// The columns of a test's data table; a call adds a row:
/// `const Rows<QString, int> row("text", "number"); row("nothing", "", 0);`
template <typename... Columns>
class Rows
{
public:
    template <typename... Names>
    explicit Rows(Names... names)
    {
        (QTest::addColumn<Columns>(names), ...);
    }

    void operator()(const char* name, const Columns&... values) const { (QTest::newRow(name) << ... << values); }
};

/// The cells of the running test's row: `const auto [text, number] = cells<QString, int>("text", "number");`
template <typename... Columns, typename... Names>
std::tuple<Columns...> cells(Names... names)
{
    return {*static_cast<Columns*>(QTest::qData(names, qMetaTypeId<Columns>()))...};
}
