// Built-in defaults shared by the whole program.
#pragma once

const int fileIoBufferSize = 1024;
const int commIoBufferSize = 1024;
const int defaultComInBufSize = 512;
const int defaultComOutBufSize = 512;
const char defaultComSettings[] = "baud=38400 parity=o data=8 stop=1 rts=hs dtr=hs octs=on";
const int defaultComByteTimeMult = 100;
const int defaultComWTTC = 1000;
const int defaultComRTTC = 1000;
const char defaultCsvDelimiter[] = ",";
const int defaultLocalEcrCommMaxTime = 100;
const int defaultNetworkEcrCommMaxTime = 10000;
const int defaultEcrOperationMaxTime = 2000;
const int defaultRetryCount = 10;          // "SerialProtocolRetryCount"
const int defaultResponseTimeoutMs = 1000; // "SerialProtocolResponseMaxTime"
const char defaultEcrRecoveryTimeName[] = "EcrRecoveryTime";
const char defaultEcrDisconnectTimeName[] = "EcrDisconnectTime";
const int defaultEcrRecoveryTime = 1000;  // in 10 ms units of Sleep
const int defaultEcrDisconnectTime = 200; // in 10 ms units of Sleep
const int defaultTimeoutForServerConnection = 30;
