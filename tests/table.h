#pragma once

#include <QTest>

/// Adds the columns of a data-driven test and then its rows:
/// Table<QString, int> row("text", "length"); row("two letters", "ab", 2);
template<typename... Columns>
class Table
{
public:
    template<typename... Names>
    explicit Table(Names... names)
    {
        (QTest::addColumn<Columns>(names), ...);
    }

    void operator()(const char* name, const Columns&... values) const
    {
        static_cast<void>((QTest::newRow(name) << ... << values));
    }
};
