#pragma once

/// \file
/// The texts of the tool: English.cpp has them, and German.cpp the same.

#include <initializer_list>
#include <string>

namespace tool {

/// The numbers of the texts.
enum TextId : unsigned {
    eTextHelp = 1,
    eTextHelpGet,
    eTextHelpSet,
    eTextHelpUnset,
    eTextHelpFix,
    eTextHelpUnfix,
    eTextHelpList,
    eTextHelpExplain,
    eTextHelpCheck,
    eTextHelpDiff,
    eTextHelpStyles,
    eTextHelpUrn,
    eTextHelpMessages,
    eTextHelpInfo,
    eTextHelpRun,
    eTextHelpFile,
    eTextHelpDeclared,
    eTextHelpAddress,
    eTextHelpValue,
    eTextHelpJson,
    eTextHelpDryRun,
    eTextHelpPattern,
    eTextHelpOrigin,
    eTextHelpPath,
    eTextHelpDot,
    eTextHelpSvg,
    eTextHelpUrnOperand,
    eTextHelpAdd,
    eTextHelpCheckFlag,
    eTextHelpLanguage,
    eTextHelpTimeout,
    eTextHelpIdle,
    eTextHelpProgram,
    eTextHelpHelp,
    eTextHelpVersion,
    eTextUsage,
    eTextOptions,
    eTextOperands,
    eTextSubcommands,
    eTextNoAddress,
    eTextNoFiles,
    eTextNotThere,
    eTextNotDeclared,
    eTextEmptyFile,
    eTextTooLarge,
    eTextNulByte,
    eTextQuoteInValue,
    eTextFixedThere,
    eTextNotFixed,
    eTextDecides,
    eTextSame,
    eTextShadowed,
    eTextOverruled,
    eTextNone,
    eTextDefault,
    eTextFixed,
    eTextNothing,
    eTextUrnUnknown,
    eTextUrnPredefined,
    eTextUrnRegistered,
    eTextUrnReplaced,
    eTextUrnRefused,
    eTextUrnTooLong,
    eTextNoUrnEntry,
    eTextNoMapFile,
    eTextNotStarted,
    eTextTimedOut,
    eTextVersion,
    eTextInstallation,
    eTextUserDirectory,
    eTextSharedDirectory,
    eTextLanguage,
    eTextOptionFile,
};

/// \return the text in the language of the user, with each "%1" replaced by the first of `texts`, and so on.
std::string Text(TextId id, std::initializer_list<std::string> texts = {});

}  // namespace tool
