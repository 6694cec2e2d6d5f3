#pragma once
// Tallywright.cfg in the application folder: twelve Key=Value lines of the organisation record,
// then eleven look values, in a fixed order. The set-up, customize and backup screens read it
// through the same few routines.

#include <QColor>
#include <QPalette>
#include <QString>
#include <QStringList>

namespace look {

QString cfgPath();

// The keys of the file in its order: the organisation record, then the look values.
const QStringList& orgKeys();
const QStringList& lookKeys();
QStringList allKeys();

// The value of the first line that holds `key` anywhere, without regard to case: what stands
// behind the line's first "=", trimmed. It is also put into `field`. With no such line (or no
// file) `field` is left alone and the result is empty. Since the key may stand anywhere,
// "ForeColor=" is also found inside "TextForeColor=": only the order of the file keeps them
// apart.
QString returnparameter(const QString& key, QString& field);
// returnparameter for each key in turn; a key not found gives an empty value.
QStringList textboxvalues(const QStringList& keys);

// What a look value stands for when the file leaves it empty.
QString lookDefault(const QString& key);

// Rewrites the whole file with one line per key: the key and its trimmed value, put in place
// only once it is whole. Throws tw::Error naming the file when it cannot be written (a full disk
// reads "No space left on the device", a symbolic link is refused); the file is then as it was.
void writeCfg(const QStringList& keys, const QStringList& values);

// Colour numbers: the top bit marks a colour of the system (its index below it), otherwise
// blue, green and red stand in that byte order, highest first, so a file written elsewhere
// reads the same here. System colours take the palette's role for the same element.
QColor toColor(qint64 number, const QPalette& palette);
qint64 toNumber(const QColor& colour);

} // namespace look
