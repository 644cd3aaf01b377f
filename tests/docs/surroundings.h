#pragma once

// What the examples of the documents take for granted: parts of the program that they would stand in.

#include <QtWidgets>

class Phone : public QObject
{
public:
    void SetAway(int seconds);
    void SetPresent();
    void HangUp();
    void ShowDate();
};

extern Phone* const phone;
extern const QString host;
extern const QString savedId;
extern const int seconds;
