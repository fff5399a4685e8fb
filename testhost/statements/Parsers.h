#pragma once

#include "testhost/session/Script.h"
#include "testhost/session/Words.h"

#include <functional>
#include <string>
#include <string_view>

struct DialogState;

/// Reads the rest of a line behind the words of its row in the tables of Table.cpp, which tell
/// how it is written, and answers what the line does. Throws ScriptError.
using Parser = Action(Words& words);

Parser ParseArea, ParseUserArea, ParseExpectArea;
Parser ParseCall, ParseBackground, ParseExpectParameter, ParseExpectResult;
Parser ParseDatabaseStatement, ParseExpectFieldValue, ParseExpectRecords, ParseExpectSelection,
    ParseExpectRecord;
Parser ParseUserType, ParseUserClick, ParseUserChoose, ParseUserCheck, ParseUserPage, ParseUserDrag,
    ParseUserDying, ParseUserValidate, ParseUserCancel, ParseUserSees, ParseExpectDialog;
Parser ParseExpectFile, ParseExpectNoFile, ParseExpectFolder, ParseShow, ParseEcho;
Parser ParseFail, ParseFailCall, ParseFailMemory, ParseFailFile, ParseExpectCall, ParseExpectNoCall,
    ParseExpectSent, ParseExpectAnswered, ParseExpectProblems;
Parser ParseForceStart, ParseForceStop, ParseForceCall, ParseRemember, ParseExpectSame;
Parser ParseRequestWrite, ParseRequestRead, ParseRequestCleanup, ParseRequestConnect,
    ParseRequestDisconnect;
Parser ParseReload, ParseSelector, ParseSetVersion, ParseSetRole, ParseSetStrict;
Parser ParseStart, ParseStop, ParseWindowAdd, ParseWindowClear;
Parser ParseSetCommand, ParseMethod, ParseAnswerConfirm, ParseAnswerFormula, ParseExpectAlert,
    ParseExpectConfirm;
Parser ParseHostStatement, ParseOn, ParseConnect, ParseDisconnect, ParseNetwork;
Parser ParsePicture, ParseUserPicture;
Parser ParseProcessStart, ParseProcessEnd, ParseProcessDying, ParseCurrentProcess, ParseEvent,
    ParseRun;
Parser ParseSetColour, ParseSetUpdateContext, ParseAnswerPicture, ParseStructureResource;
Parser ParseSetVariable, ParseSetPicture, ParseExpectVariable, ParseSetChosen, ParseExpectChosen;

/// What the user does with the dialog when all before it is done; takes no turn. What it says has
/// the place of its own line, not that of the call that shows the dialog.
Action Look(std::function<void(Player&, const DialogState&)> look);
/// The words for the events of areas.
std::string DescribeAreaWords();
