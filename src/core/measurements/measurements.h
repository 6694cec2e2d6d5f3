#pragma once
// The measurement lines of estimates and bills, kept in BillMaster: one shape, up to four
// dimensions and a quantity a line. A line is found by project, bill, schedule item and
// narration, and a save that finds it overwrites it. The measurement screen and the command
// line's import both save through here, so a line stores the same whichever way it came.

#include "store/messages.h"
#include "store/store.h"

#include <QString>
#include <QStringList>

#include <array>
#include <optional>
#include <utility>
#include <vector>

namespace tw::measurements {

// A project as the measurement lines need it.
struct Project {
    QString number; // tw_contract_num
    QString units;  // tw_units: "Feet" or "Metre"
};
std::optional<Project> projectByName(const ConClass& con, const QString& name);
std::optional<Project> projectByNumber(const ConClass& con, const QString& number);

// The bills of a project: each number its lines carry, once.
QStringList billNumbers(const ConClass& con, const QString& contract);
// One item of the project by its number, with the number as the item spells it; nullopt when
// the project has no such item.
struct Item {
    QString number;
    QString description;
};
std::optional<Item> findItem(const ConClass& con, const QString& contract, const QString& sch);

// The shapes in the order of their table.
QStringList shapeNames(const ConClass& con);
// A shape by its name, as its table spells the name, with the captions of its four dimensions;
// an empty caption is a dimension the shape doesn't ask for.
struct Shape {
    QString name;
    std::array<QString, 4> captions;
};
std::optional<Shape> findShape(const ConClass& con, const QString& name);

// The caption of the fractional parts in a measure system: "CMs" in "Metre", else "Inches".
QString fractionCaption(const QString& units);

// One line as it is entered: each dimension in two parts as typed, whole and fractional.
struct Line {
    QString contract;
    QString units;
    QString bill;
    QString sch;  // tw_sch_num of the item
    QString item; // its description as shown; empty while no item is picked
    QString narration;
    QString shape;
    std::array<QString, 4> captions; // as shown beside each pair
    std::array<bool, 4> asked{};     // whether the pair can be entered
    std::array<QString, 4> whole;
    std::array<QString, 4> frac;
    QString qty;
    bool deduction = false;

    // The captions and the pairs the shape asks for.
    void takeShape(const Shape& s);
};

// The measurement screen's save: its checks in their order, then the shape arithmetic, the
// line total and the write, overwriting the line of the same project, bill, item and narration.
// A blank fractional part of a pair that is asked for reads as none and is filled with "00" in
// `line` as its pair passes, even when a later check fails. Gives the first failing check, with
// nothing written; a failure of the arithmetic (a triangle that can't close, a quantity that is
// no number) throws tw::Error, nothing written either.
std::optional<Refusal> saveLine(const ConClass& con, Line& line);

// Deletes the line of the project and bill with that item and narration, if there is one.
void deleteLine(const ConClass& con, const QString& contract, const QString& bill,
                const QString& sch, const QString& narration);

// The rows of the screen's list of a bill's lines, in store order: item number, narration,
// shape, each dimension as its two parts joined by a hyphen ("12-6", "0-0"), quantity, and
// "YES" or "NO" for a deduction.
std::vector<QStringList> Show_Measurements(const ConClass& con, const QString& contract,
                                           const QString& bill);

} // namespace tw::measurements
