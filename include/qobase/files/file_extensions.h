// QOFileExtensions: the file-name extensions of the authoring tool's own files, without the dot.
#pragma once

#include <qobase/strings/std_str.h>

namespace QOFileExtensions {

extern const CStdStr k_csProjectFile;         // "zproj"
extern const CStdStr k_csSettings;            // "zsettings"
extern const CStdStr k_csValidationCache;     // "validationcache"
extern const CStdStr k_csSoundBankFile;       // "bnk"
extern const CStdStr k_csSoundBankInfoFile;   // "info"
extern const CStdStr k_csSoundBankDefFile;    // "txt"
extern const CStdStr k_csSoundBankStatFile;   // "stat"
extern const CStdStr k_csSoundBankMapFile;    // "map"
extern const CStdStr k_csWorkUnit;            // "zwu"
extern const CStdStr k_csConvertedFile;       // "zem"
extern const CStdStr k_csDecodedFile;         // "decoded"
extern const CStdStr k_csLayoutFile;          // "zlayout"
extern const CStdStr k_csMainWindowInfoFile;  // "zmain"
extern const CStdStr k_csCmdLineFile;         // "zcmdline"
extern const CStdStr k_csCustomProperties;    // "zcustomproperties"
extern const CStdStr k_csWavAnalysisData;     // "qod"
extern const CStdStr k_csSonvoDatFile;        // "dat"

// "." followed by `ext`: "wav" gives ".wav" (".wav" would give "..wav").
CStdStr DottedExt(const CStdStr& ext);

}  // namespace QOFileExtensions
