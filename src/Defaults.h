// Built-in defaults shared by the whole program. Times are in milliseconds unless marked.
#pragma once

// Size of a record buffer on the file side; no longer read, as the commands size their own.
const int fileIoBufferSize = 1024;
// Size of a frame or record buffer on the ECR side: the longest request or answer handled.
const int commIoBufferSize = 1024;
// Serial input and output buffer sizes; the terminal driver sizes its own, so nothing reads them.
const int defaultComInBufSize = 512;
const int defaultComOutBufSize = 512;
// Serial settings applied when the port opens, before the INI file's "ComSettings".
const char defaultComSettings[] = "baud=38400 parity=o data=8 stop=1 rts=hs dtr=hs octs=on";
// "ComByteTimeMult": the wait for one byte, in character times at the line's speed.
const int defaultComByteTimeMult = 100;
// Serial write and read total time-out constants; the terminal driver has no such setting, so
// nothing reads them.
const int defaultComWTTC = 1000;
const int defaultComRTTC = 1000;
// "Delimiter": the CSV field delimiter.
const char defaultCsvDelimiter[] = ",";
// "EcrCommMaxTime" on a serial link and on a network link: added to the operation time for
// the read time-out.
const int defaultLocalEcrCommMaxTime = 100;
const int defaultNetworkEcrCommMaxTime = 10000;
// "EcrOperationMaxTime": how long the ECR may work on a request before it answers.
const int defaultEcrOperationMaxTime = 2000;
const int defaultRetryCount = 10;          // "SerialProtocolRetryCount"
const int defaultResponseTimeoutMs = 1000; // "SerialProtocolResponseMaxTime"
// Names of the two pause settings: after a communication failure, before the link is closed,
// and after every close of the link.
const char defaultEcrRecoveryTimeName[] = "EcrRecoveryTime";
const char defaultEcrDisconnectTimeName[] = "EcrDisconnectTime";
// Both pauses go to Sleep unconverted, which does not pause at all for 100 units or more: the
// defaults therefore give no pause. That has always been so and is kept; 1 to 99 pause.
const int defaultEcrRecoveryTime = 1000;  // in 10 ms units of Sleep
const int defaultEcrDisconnectTime = 200; // in 10 ms units of Sleep
// "ConnectionTimeout" of the server mode, in seconds; read but unused in this build.
const int defaultTimeoutForServerConnection = 30;
