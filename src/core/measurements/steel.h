#pragma once
// The steel schedule of a bill, kept in reinforcementmaster: one line a narration with its bar
// diameter, number of bars and length per bar. A line is found by project, bill and narration;
// saving a narration already in the bill overwrites its line.

#include "store/messages.h"
#include "store/store.h"

#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

namespace tw::steel {

// The bills of a project that have steel lines, each once.
QStringList billNumbers(const ConClass& con, const QString& contract);
// The known bar sizes, in the order of their table.
QStringList diameters(const ConClass& con);

// A size typed into the list is learnt: it joins table diameter. A size is known by its number
// of millimetres, however it is spelt ("8", "08", "8 mm"), and is learnt in the one spelling a
// line stores; a text without a number is known only as it stands (an empty one too).
void learnDiameter(const ConClass& con, const QString& typed);

// One line as it is entered. `feet` tells the unit every length rule goes by: feet and inches,
// or metres and centimetres.
struct Line {
    QString contract;
    QString bill;
    QString narration;
    QString diameter;
    QString nos;
    QString whole; // feet or metres
    QString frac;  // inches or centimetres
    QString remarks;
    bool feet = false;
};

// What an add comes to: a warning to show (the line is saved all the same), or the check that
// failed, with nothing written.
struct AddOutcome {
    std::optional<Refusal> warning;
    std::optional<Refusal> refusal;
};
// The screen's add: its checks in their order, then the write.
AddOutcome addLine(const ConClass& con, const Line& line);

// Deletes the line the list shows: its Length text is read back into its two numbers (digits up
// to the first other character make the whole part, every later digit the fractional part), and
// the stored line with those figures is deleted, if there is one.
void deleteLine(const ConClass& con, const QString& contract, const QString& bill,
                const QString& narration, const QString& diameter, const QString& nos,
                const QString& length);

// The rows of the screen's list of a bill's lines, numbered from 1: item number, narration,
// diameter, nos, Length ("12 Ft 6 Ins", "3 Mt 50 Cms"), Total Length in the unit of the whole
// part, remarks.
std::vector<QStringList> Show_Reinforcement(const ConClass& con, const QString& contract,
                                            const QString& bill, bool feet);

} // namespace tw::steel
