#pragma once
// How code without widgets tells the user something or asks a question: the desktop shows a
// message box, the command-line companion writes to stderr and takes a default answer, and
// tests answer from a script. Whoever runs the code hands it the messenger to use.

#include <QString>

#include <vector>

namespace tw {

// Buttons and icons of a message; add one of each: OkCancel | Question.
enum MsgFlag : int {
    Ok = 0,
    OkCancel = 1,
    YesNo = 4,
    Critical = 16,
    Question = 32,
    Exclamation = 48,
    Information = 64,
    DefaultButton2 = 256, // the second button is the one Enter presses
};
constexpr int buttonsOf(int flags) {
    return flags & 0x7;
}
constexpr int iconOf(int flags) {
    return flags & 0x70;
}
enum class Answer { Ok, Cancel, Yes, No };

// The title a message takes when it has none of its own.
const QString& defaultTitle();

struct Message {
    QString text;
    int flags = Ok;
    QString title; // as shown: defaultTitle() when the caller gave none
};

// A check of an action that failed, as core code reports it: the message as the screen shows
// it, with its icon and title, and the field it is about by the control's name ("txt_amount").
// A screen shows it and puts the focus on that control; the command line names the field.
struct Refusal {
    QString field;
    QString text;
    int flags = Information;
    QString title;
};

class Messenger {
public:
    virtual ~Messenger() = default;
    // Shows the message and gives the button chosen.
    Answer say(const QString& text, int flags = Ok, const QString& title = {});

protected:
    virtual Answer show(const Message& m) = 0;
};

// Writes "title: text" to stderr and answers with the first button (Ok or Yes).
class ConsoleMessenger : public Messenger {
protected:
    Answer show(const Message& m) override;
};

// Holds what it is told until release() passes it on, in order: a box waiting for its answer
// then holds no lock of an action still under way. It takes no question, which could not wait:
// one throws tw::Error.
class HeldMessages : public Messenger {
public:
    explicit HeldMessages(Messenger& to) : to_(to) {}
    void release();

protected:
    Answer show(const Message& m) override;

private:
    Messenger& to_;
    std::vector<Message> held_;
};

} // namespace tw
