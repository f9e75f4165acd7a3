// Program identity shown in the usage text and the log.
#pragma once

const char programName[] = "TAVO";
const char programTitle[] = "Data exchange tool for ZEL ECRs.";
const char programVersion[] = "3.3.3";
const char programBuildSuffix[] = "";
