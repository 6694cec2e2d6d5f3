#include "core/projects/projects.h"

namespace tw::projects {

std::optional<Row> findByName(const ConClass& con, const QString& name) {
    return con.find(QStringLiteral("ContractMaster"), QStringLiteral("tw_contract_name=?"), {name});
}

QString numberOf(const ConClass& con, const QString& name) {
    const auto row = findByName(con, name);
    return row ? row->text(QStringLiteral("tw_contract_num")) : QString();
}

std::optional<Row> findByNumber(const ConClass& con, const QString& number) {
    return con.find(QStringLiteral("ContractMaster"), QStringLiteral("tw_contract_num=?"),
                    {number});
}

} // namespace tw::projects
