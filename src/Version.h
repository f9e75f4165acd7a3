// Program identity shown in the usage text and the log.
#pragma once

// The name in the usage lines ("TAVO.EXE command ...") and the log's start line.
const char programName[] = "TAVO";
// The first line of the usage text.
const char programTitle[] = "Data exchange tool for ZEL ECRs.";
// The version in the usage text and the log's start line.
const char programVersion[] = "3.3.3";
// Appended to the version wherever it is shown; empty in this build.
const char programBuildSuffix[] = "";
