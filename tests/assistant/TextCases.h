#pragma once

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "support/TestData.h"

/// Returns the rows of a table of text-cases.json, which are named after the function that they are for.
inline nlohmann::json textCases(const char* table) {
    nlohmann::json rows = nlohmann::json::parse(readTestData("text-cases.json")).at(table);
    EXPECT_FALSE(rows.empty());
    return rows;
}

/// Compares what a function makes of the first text of each row with the rest of the row.
template <typename Function>
void expectCases(const char* table, Function function) {
    for (const nlohmann::json& row : textCases(table))
        EXPECT_EQ(nlohmann::json(function(row[0].get<std::string>())), row[1]) << table << ": " << row[0];
}
