// What the tests of the round-robin database share.
#pragma once

#include "zeb/stats/RrdDb.h"

#include <vector>

using Stats::Rrd::Db;
using Stats::Rrd::Sample;
using Type = Db::Attribute;
using U64 = unsigned long long;
using ValuesT = std::vector<U64>;

inline Type const ATTRIBUTES[] = {{"rate", 8, Type::SPEED, Db::RAISE_OFF},
                                  {"none", 1, Type::NONE, Db::RAISE_ON},
                                  {"drops", 3, Type::COUNT, Db::RAISE_ON},
                                  {"up", 5, Type::BOOL, Db::RAISE_OFF},
                                  {"heat", 2, Type::GAUGE, Db::RAISE_OFF}};

inline Db::Modifier Tailing(bool tail) {
    Db::Modifier modifier;
    if (tail) modifier.SetTailing();
    return modifier;
}

inline bool Update(Db& db, Time::Span const& time, ValuesT const& values) {
    Array<U64> array;
    return array.Assign(values.data(), values.size()) && db.Update(time, array).Succeeded();
}

inline Time::Span Tenths(long tenths) {
    return Time::Span(Time::Span::Value(tenths / 10, tenths % 10 * 100000));
}
