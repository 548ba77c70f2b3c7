#pragma once

#include <QString>

#include <optional>

// The terminal of a command-line run: whether questions can be asked on it,
// lines and passwords read from it, and what goes to standard output and
// standard error. Main thread.
class RKTerminal
{
public:
    // Whether questions can be asked: standard input is a terminal and the
    // process has a controlling terminal to ask on.
    static bool interactive();
    // Whether a file descriptor is a terminal.
    static bool isTerminal(int fd);
    // The width of standard error's terminal in columns; 80 when unknown.
    static int columns();

    // Shows prompt on the controlling terminal and reads one line from it,
    // without echo for a password. nullopt at the end of input or when the
    // run was interrupted meanwhile.
    static std::optional<QString> ask(const QString& prompt, bool echo = true);
    // One line from standard input without its line end; nullopt when the
    // input ends before a line.
    static std::optional<QString> readStandardInputLine();

    // What goes to standard output: a failed write (a full disk, /dev/full)
    // is remembered, and later writes are not tried.
    static void writeOutput(const QString& text);
    static bool writeOutputBytes(const char* data, qsizetype size);
    static void writeError(const QString& text);
    // errno of the first write to standard output that failed; 0: none.
    static int outputError();

    // A name as `ls` shows it: as it is when it holds no control character,
    // else quoted for the shell with $'\n' for each control character.
    static QString escapedName(const QString& name);

    // A status line that is redrawn in place is on standard error: writing
    // anything else first clears it.
    static void setStatusLineShown(bool shown);
    static void clearStatusLine();

    // Whether messages are Japanese: the first of LANGUAGE, LC_ALL,
    // LC_MESSAGES and LANG that is set starts with "ja" (as gettext reads it).
    static bool japaneseMessages();

    // Puts back the terminal's echo if a password read turned it off. Safe
    // in a signal handler.
    static void restoreEchoFromSignal();
};
