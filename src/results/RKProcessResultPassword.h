#pragma once

#include <QString>

// The password used for an archive; a null stringValue counts as absent.
struct RKProcessResultPassword
{
    QString stringValue;
    bool showPassword = false;

    // A password was asked for and none was given (or a template came out
    // empty): the archive was made without encryption, which the result
    // says in words.
    bool leftEmpty() const { return !stringValue.isNull() && stringValue.isEmpty(); }
};
