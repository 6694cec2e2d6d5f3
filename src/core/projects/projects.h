#pragma once
// Projects as every screen and report finds them: by the name the project lists show. And a
// project as the definition screen keeps it: shown by its Id, checked and saved.

#include "store/messages.h"
#include "store/store.h"

#include <QStringList>

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

// The project numbers in store order, as the definition screen lists them.
QStringList numbers(const ConClass& con);

// A date field: the text it shows, which must be a date or nothing, and the value it holds as
// dd-MM-yyyy (one blank when empty), which is what is stored.
struct DateField {
    QString shown;
    QString value;
};

// A project as the definition screen holds it, each field as typed.
struct Fields {
    QString id; // tw_contract_num
    QString name;
    QString reference;
    DateField referenceDate;
    DateField startDate;
    DateField endDate;
    QString taxRate;
    QString units; // the measure system; empty keeps the one the project has
    QString clientName;
    QString contact;
    QString address1;
    QString address2;
    QString city;
    QString pin;
    QString phone1;
    QString phone2;
    QString mobile;
    QString email;
    QString url;
};

// The project of that Id as the screen shows it: a stored blank or Null as an empty field, 0 in
// a pin or phone column as none, a project without a measure system as one in feet. nullopt
// when no project has the Id.
std::optional<Fields> show(const ConClass& con, const QString& id);

// The e-mail check of the organisation and project screens: a filled address must hold "@" and
// one of the domain words (COM, ORG, NET, GOV, EDU, MIL, AC., CO.) anywhere, in any case. The
// refusal names `field`.
std::optional<Refusal> checkEmail(const QString& field, const QString& email);

// Checks the fields in the screen's order (Id, name, the three dates, the e-mail, the tax rate)
// and writes the project in one transaction: over the project with that Id (compared as the
// store compares texts, and keeping its own spelling) or as a new one. Fields are written
// trimmed, an empty one as one blank, or 0 in the pin, phone and tax columns. Gives the first
// check that failed, naming the screen's control; nothing is written then.
std::optional<Refusal> save(const ConClass& con, const Fields& project);

} // namespace tw::projects
