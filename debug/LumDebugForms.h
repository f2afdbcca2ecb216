// What the two small forms of the debug window share.
#pragma once

#include <lumbasic/LumDebugToolkit.h>

#include <string>

// Shows the form: true only for OK with every field filled that must be, so that a
// toolkit letting a blank field through counts as Cancel and changes nothing.
bool LumAskForm(CLumDebugToolkit& toolkit, SLumDebugForm& form);
// A variable's name as typed, without blanks around it: names hold none.
std::string LumNameOfField(const SLumDebugForm::Field& field);
