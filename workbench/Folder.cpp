#include "workbench/Folder.h"

#include "workbench/Calls.h"

#include <regex>
#include <sstream>

namespace {

struct Row {
    std::string before, failing, command, result, after;
    bool changes;
};

Row Split(std::string const& text) {
    Row row;
    std::istringstream fields(text);
    for (std::string* const field : {&row.before, &row.failing, &row.command, &row.result})
        std::getline(fields, *field, '&');
    bool const isThere = static_cast<bool>(std::getline(fields, row.after));
    row.changes = isThere || text.back() == '&';
    return row;
}

void RunRow(TempDir const& dir, Row const& row, FolderTable const& table, Heap* heap) {
    dir.Make(row.before);
    std::string const expected = row.changes ? row.after : dir.Tree();
    long const open = OpenDescriptors() + (row.failing.starts_with("close") ? 1 : 0);
    Calls calls;
    calls.ScriptFailure(row.failing);
    std::string const got = table.run(row.command, heap), there = dir.Tree();
    bool const isLacking = heap != nullptr && heap->Fired() && got != row.result;
    EXPECT_TRUE(isLacking ? std::regex_match(got, std::regex(table.lacking))
                          : got == row.result && there == expected)
        << got << "; " << there;
    EXPECT_EQ(OpenDescriptors(), open);
    dir.Clear();
}

} // namespace

void RunFolderTable(TempDir const& dir, FolderTable const& table) {
    std::regex const allocating(table.allocating);
    std::istringstream rows(Replaced(table.rows, {{"\n", " "}}));
    for (std::string text; std::getline(rows >> std::ws, text, ';');) {
        SCOPED_TRACE(text);
        Row const row = Split(text);
        RunRow(dir, row, table, nullptr);
        if (row.failing.empty() && std::regex_match(row.command + ":" + row.result, allocating))
            ForEveryAllocation([&](Heap& heap) { RunRow(dir, row, table, &heap); });
    }
}
