#pragma once
// Projects as every screen and report finds them: by the name the project lists show.

#include "store/store.h"

#include <optional>

namespace tw::projects {

// The project's ContractMaster row: the first the store gives for the name (a name entered
// twice gives two rows, and the first is taken). nullopt when no project has the name.
std::optional<Row> findByName(const ConClass& con, const QString& name);

// The project's number, tw_contract_num; empty when no project has the name.
QString numberOf(const ConClass& con, const QString& name);

// The project's ContractMaster row by its number (its Id), compared as the store compares
// texts; nullopt when no project has it.
std::optional<Row> findByNumber(const ConClass& con, const QString& number);

} // namespace tw::projects
