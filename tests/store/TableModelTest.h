#pragma once

#include "tests/store/StoreTestSupport.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>

namespace zuLogging::test {

// Where a field is in a table with the columns that it has from the start.
constexpr int idColumn = FieldServiceMsgID - 1;
constexpr int timeColumn = FieldTimestamp - 1;
constexpr int messageColumn = FieldLogMessage - 1;

/// A full model and a filtered one, with all columns, over a quiet store.
class TableModelTest : public ::testing::Test
{
protected:
    TableModelTest()
        : store(std::make_shared<QuietStore>())
        , model(store)
        , filtered(store)
    {
        store->setModels(&model, &filtered);
        model.setColumns(defaultColumnOrder());
        filtered.setColumns(defaultColumnOrder());
    }
    ~TableModelTest() override { store->setModels(nullptr, nullptr); }

    void addMany(int count)
    {
        for (int i = 0; i < count; ++i)
            model.addMessage(makeMessage(nextId++));
    }

    std::shared_ptr<QuietStore> store;
    LogTableModel model;
    LogTableModel filtered;
    std::uint64_t nextId = 1;
};

} // namespace zuLogging::test
