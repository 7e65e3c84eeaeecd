// The authoring tool's file-name extensions.
#include <qobase/files/file_extensions.h>

namespace QOFileExtensions {

const CStdStr k_csProjectFile("zproj");
const CStdStr k_csSettings("zsettings");
const CStdStr k_csValidationCache("validationcache");
const CStdStr k_csSoundBankFile("bnk");
const CStdStr k_csSoundBankInfoFile("info");
const CStdStr k_csSoundBankDefFile("txt");
const CStdStr k_csSoundBankStatFile("stat");
const CStdStr k_csSoundBankMapFile("map");
const CStdStr k_csWorkUnit("zwu");
const CStdStr k_csConvertedFile("zem");
const CStdStr k_csDecodedFile("decoded");
const CStdStr k_csLayoutFile("zlayout");
const CStdStr k_csMainWindowInfoFile("zmain");
const CStdStr k_csCmdLineFile("zcmdline");
const CStdStr k_csCustomProperties("zcustomproperties");
const CStdStr k_csWavAnalysisData("qod");
const CStdStr k_csSonvoDatFile("dat");

namespace {
const char k_csDot[] = ".";
}

CStdStr DottedExt(const CStdStr& ext) { return CStdStr(k_csDot) + ext; }

}  // namespace QOFileExtensions
