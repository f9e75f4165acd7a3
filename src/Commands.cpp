#include "Commands.h"

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "AppConfig.h"
#include "Console.h"
#include "DataConverter.h"
#include "EcrComm/EcrComm.h"
#include "Exceptions.h"
#include "FileErrors.h"
#include "FileIo.h"
#include "Formatting/TextDataParser.h"
#include "Interruption.h"
#include "Logging.h"
#include "RawFile.h"
#include "Tools.h"

namespace {

const int transferBufferSize = 1024;
// Readers and writers are released on every way out of a transfer, an exception included;
// releasing a writer completes and closes its file.
// A record as the file holds it, and as the ECR holds it.
byte fileIoBuffer[transferBufferSize];
byte commIoBuffer[transferBufferSize];

// Progress goes to the terminal at once; lines ending in "\r" are overwritten by the next.
void Progress(const std::string& text) {
    ShowProgress(text);
}

void Blank(int width) {
    Progress(std::string(static_cast<size_t>(width), ' ') + "\r");
}

char* FileBuffer() {
    return reinterpret_cast<char*>(fileIoBuffer);
}

// Authorises when a password is configured and asks the ECR for the operation.
void OperationRequest(int dataType, Action action) {
    AuthorizeSession();
    Progress("Sending operation request...\r");
    SendRequest(static_cast<byte>(dataType), static_cast<byte>(action));
    Blank(28);
}

// Waits for the ECR to finish a clear or an initialisation. An interruption stops the waiting;
// the ECR finishes on its own.
void WaitUntilCleared(const char* message, int blankWidth) {
    Progress(message);
    while (!ReadClearStatus()) {
        if (PendingInterrupt() != 0) {
            Blank(blankWidth);
            StopIfInterrupted();
        }
    }
    Blank(blankWidth);
}

void Initialize(int dataType) {
    OperationRequest(dataType, Action_Init);
    WaitUntilCleared("Initializing ...\r", 16);
}

// The file line a record came from; records of raw and bitmap files have none (0).
int LineOf(FileReader* reader, int recordNumber) {
    if (reader->GetType() != FileType_CSV) {
        return 0;
    }
    return static_cast<CsvFileReader*>(reader)->GetLineNumber(recordNumber);
}

// Sends the records from recordNumber up to packetEnd back to back, appending the number of
// every record sent to sent; a record that does not convert is counted as bad and skipped.
// Returns false when there was no record at all to take (the end of the data).
bool SendPacketRecords(FileReader* reader, long long packetEnd, int& recordNumber,
                       std::vector<int>& sent) {
    int taken = 0;
    while (recordNumber < packetEnd) {
        const int length = reader->Read(recordNumber, FileBuffer(), transferBufferSize);
        if (length == 0) {
            break;
        }
        const uint16 ecrLength = DataConverter::PcToEcr(fileIoBuffer, static_cast<uint16>(length),
                                                        commIoBuffer, transferBufferSize);
        if (ecrLength == 0) {
            FileErrors::AddBadFormatRecord(LineOf(reader, recordNumber));
        } else {
            BeginSendData(commIoBuffer, ecrLength);
            sent.push_back(recordNumber);
        }
        ++taken;
        ++recordNumber;
    }
    return taken > 0;
}

// Takes the ECR's answer to every record sent, in sending order, and counts the refused ones
// against their lines. Returns how many the ECR accepted.
unsigned CollectVerdicts(FileReader* reader, const std::vector<int>& sent) {
    unsigned accepted = 0;
    for (const int sentRecord : sent) {
        uint16 fieldNumber = 0;
        switch (EndSendData(fieldNumber)) {
        case SendResult_BadData:
            FileErrors::AddBadDataRecord(LineOf(reader, sentRecord), fieldNumber);
            break;
        case SendResult_CanNotUpdate:
            FileErrors::AddCanNotUpdateRecord(LineOf(reader, sentRecord));
            break;
        case SendResult_OK:
            ++accepted;
            break;
        }
    }
    return accepted;
}

// Sends the file's records from recordNumber on in packets of recordsInPacket: the records of
// a packet go out back to back, then the ECR's verdicts are collected in sending order. An
// interruption stops it between two packets, where the ECR has answered every record sent.
void SendPackets(FileReader* reader, int recordsInPacket, int& recordNumber, unsigned& recordsSent,
                 const char* statusMessage) {
    while (PendingInterrupt() == 0) {
        const long long packetEnd = static_cast<long long>(recordNumber) + recordsInPacket;
        std::vector<int> sent;
        if (packetEnd <= recordNumber ||
            !SendPacketRecords(reader, packetEnd, recordNumber, sent)) {
            return;
        }
        recordsSent += CollectVerdicts(reader, sent);
        if (recordsSent != 0) {
            Progress(Format("%s: %u\r", statusMessage, recordsSent));
        }
        recordNumber = static_cast<int>(packetEnd);
    }
}

// The fiscal command file is read in file order; lines that do not start with a command code
// or do not convert are reported, and any of them stops the run before a command is sent.
void ValidateFiscalCommands(CsvFileReader* reader) {
    for (int record = 0;; ++record) {
        const int length = reader->Read(record, FileBuffer(), transferBufferSize);
        if (length == 0) {
            break;
        }
        TextDataParser parser(fileIoBuffer, static_cast<uint16>(length));
        if (parser.GetFieldType() != FieldType_Number ||
            DataConverter::PcToEcr(fileIoBuffer, static_cast<uint16>(length), commIoBuffer,
                                   transferBufferSize) == 0) {
            FileErrors::AddBadFormatRecord(reader->GetLineNumber(record));
        }
    }
    FileErrors::Log();
    if (FileErrors::GetBadFormatRecordCount() > 0) {
        throw new ApplicationException("Input file contains bad data",
                                       ReturnCode_InputFileSyntaxError);
    }
}

// Returns the number of commands the ECR has executed; an interruption stops it between two
// commands.
unsigned RunFiscalCommands(CsvFileReader* reader) {
    unsigned commandsSent = 0;
    while (PendingInterrupt() == 0) {
        Progress(Format("Commands sent: %u\r", commandsSent));
        const int length =
            reader->Read(static_cast<int>(commandsSent), FileBuffer(), transferBufferSize);
        if (length == 0) {
            break;
        }
        TextDataParser parser(fileIoBuffer, static_cast<uint16>(length));
        Decimal code;
        parser.GetNumber(code);
        code.SetDecimalCount(0);
        const uint16 dataLength = DataConverter::PcToEcr(parser, commIoBuffer, transferBufferSize);
        Fiscal_SendCommand(static_cast<byte>(code.ToInt64()), commIoBuffer, dataLength);
        ++commandsSent;
    }
    return commandsSent;
}

void ExecuteFiscalFile(const std::string& filename) {
    // A directory is refused before the ECR hears of the run.
    if (Directory::Exists(filename)) {
        CheckInputFile(filename);
    }
    AuthorizeSession();
    DataConverter::Initialize(FileType_CSV);
    std::unique_ptr<FileReader> reader(CreateFileReader(FileType_CSV));
    // Commands run in file order, and a repeated command code is no duplicate.
    AppConfig::SetParameter("SortInputFileLines", "0", false);
    reader->Open(filename);
    // Lines the index rejected were reported; they are left out but do not stop the run.
    FileErrors::Reset();
    CsvFileReader* commands = static_cast<CsvFileReader*>(reader.get());
    ValidateFiscalCommands(commands);
    const unsigned commandsSent = RunFiscalCommands(commands);
    reader.reset();
    Progress(Format("Commands sent: %u\n", commandsSent));
    StopIfInterrupted();
}

// Counts the sessions that the ECR ends on its side; a register that ends one session after
// another without accepting a record in between would be renegotiated with for ever.
class SessionEndCounter {
public:
    // Raises CommunicationException when the ECR has ended maxFruitlessSessions sessions in a
    // row without accepting a record.
    void Count(unsigned recordsSent) {
        m_fruitless = recordsSent > m_recordsSentAtLastEnd ? 1 : m_fruitless + 1;
        m_recordsSentAtLastEnd = recordsSent;
        if (m_fruitless >= maxFruitlessSessions) {
            throw new CommunicationException(
                "ECR times out every session before accepting a record");
        }
    }

private:
    static const int maxFruitlessSessions = 3;
    int m_fruitless = 0;
    unsigned m_recordsSentAtLastEnd = 0;
};

int ReturnCodeFromFileErrors() {
    if (FileErrors::GetDuplicateRecordCount() >= 1 &&
        AppConfig::GetParameter("IgnoreDuplicates", 0) == 0) {
        return ReturnCode_InputFileSyntaxError;
    }
    if (FileErrors::GetBadFormatRecordCount() > 0 || FileErrors::GetEmptyRecordCount() > 0) {
        return ReturnCode_InputFileSyntaxError;
    }
    if (FileErrors::GetRejectedByEcrRecordCount() >= 1) {
        return ReturnCode_InputFileHasBadRecords;
    }
    return ReturnCode_OK;
}

} // namespace

int Execute_Standard(Command command, int dataType, const std::string& filename) {
    switch (command) {
    case Command_Read:
        Read(dataType, filename);
        break;
    case Command_Send:
        Send(dataType, filename, UpdateType_Add);
        break;
    case Command_Delete:
        Send(dataType, filename, UpdateType_Delete);
        break;
    case Command_Clear:
        Clear(dataType);
        break;
    case Command_ReadAndClear:
        if (Read(dataType, filename) > 0) {
            Clear(dataType);
        }
        break;
    case Command_ClearAndSend:
        // The section is only cleared when there is a file to fill it again.
        CheckInputFile(filename);
        Clear(dataType);
        Send(dataType, filename, UpdateType_Add);
        break;
    case Command_Init:
        Initialize(dataType);
        break;
    default:
        THROW_INTERNAL_ERROR();
    }
    return ReturnCodeFromFileErrors();
}

int Read(int dataType, const std::string& filename) {
    const FileType fileType = DetectFileType(filename, dataType);
    DataConverter::Initialize(fileType);
    FileErrors::Reset();
    std::unique_ptr<FileWriter> writer(CreateFileWriter(fileType));
    writer->Open(filename);
    OperationRequest(dataType, Action_Read);
    unsigned recordsRead = 0;
    while (PendingInterrupt() == 0) {
        const uint16 length = ReadData(commIoBuffer, transferBufferSize);
        if (length == 0) {
            break;
        }
        ++recordsRead;
        if (recordsRead % 10 == 0) {
            Progress(Format("Records read: %u\r", recordsRead));
        }
        const uint16 pcLength =
            DataConverter::EcrToPc(commIoBuffer, length, fileIoBuffer, transferBufferSize);
        if (pcLength == 0) {
            throw new CommunicationException("Bad record received");
        }
        writer->Write(FileBuffer(), pcLength);
    }
    // Completes the file and makes sure it is on the disk: a ReadAndClear clears the section
    // only after this.
    writer->Close();
    writer.reset();
    Progress(Format("Records read: %u\n", recordsRead));
    StopIfInterrupted();
    return static_cast<int>(recordsRead);
}

void Send(int dataType, const std::string& filename, UpdateType updateType) {
    const char* statusMessage =
        updateType == UpdateType_Delete ? "Records deleted" : "Records sent";
    const FileType fileType = DetectFileType(filename, dataType);
    DataConverter::Initialize(fileType);
    FileErrors::Reset();
    std::unique_ptr<FileReader> reader(CreateFileReader(fileType));
    reader->Open(filename);
    const int recordsInPacket = AppConfig::GetParameter("RecordsInPacket", 1);
    const Action action = updateType == UpdateType_Delete ? Action_Delete : Action_Write;
    unsigned recordsSent = 0;
    int recordNumber = 0;
    SessionEndCounter sessionEnds;
    for (;;) {
        try {
            OperationRequest(dataType, action);
            SendPackets(reader.get(), recordsInPacket, recordNumber, recordsSent, statusMessage);
            break;
        } catch (UnknownCommandException* e) {
            // The ECR ended the data session after its own time-out.
            delete e;
            if (recordsInPacket != 1) {
                throw new CommunicationException("Unexpected data received, retry not possible");
            }
            sessionEnds.Count(recordsSent);
            LogMsg(LogType_Both, "Communication timeout on ECR side, renegotiating...", true);
            // Resumes at the count of accepted records: records skipped or rejected earlier
            // put that point before the interrupted record, so some are sent again.
            recordNumber = static_cast<int>(recordsSent);
        }
    }
    SendEndOfData();
    reader.reset();
    FileErrors::Log();
    Progress(Format("%s: %u\n", statusMessage, recordsSent));
    StopIfInterrupted();
}

void Clear(int dataType) {
    OperationRequest(dataType, Action_Clear);
    WaitUntilCleared("Clearing ...\r", 12);
}

int Execute_Fiscal(Command command, const std::string& filename) {
    switch (command) {
    case Command_ReadFiscalStatus:
        AuthorizeSession();
        ReadStatus(filename, StatusType_ECR);
        break;
    case Command_ReadEftStatus:
        AuthorizeSession();
        ReadStatus(filename, StatusType_EFT);
        break;
    case Command_ExecuteFiscal:
        ExecuteFiscalFile(filename);
        break;
    default:
        THROW_INTERNAL_ERROR();
    }
    return ReturnCode_OK;
}

void ReadStatus(const std::string& filename, StatusType statusType) {
    DataConverter::Initialize(FileType_CSV);
    std::unique_ptr<FileWriter> writer(CreateFileWriter(FileType_CSV));
    writer->Open(filename);
    uint16 length = 0;
    if (statusType == StatusType_ECR) {
        Progress("Reading ECR status...\r");
        length = Fiscal_ReadStatus(commIoBuffer, transferBufferSize);
    } else if (statusType == StatusType_EFT) {
        Progress("Reading EFT status...\r");
        length = Fiscal_ReadEftStatus(commIoBuffer, transferBufferSize);
    }
    const uint16 pcLength =
        DataConverter::EcrToPc(commIoBuffer, length, fileIoBuffer, transferBufferSize);
    if (pcLength == 0) {
        throw new CommunicationException("Bad status data received");
    }
    writer->Write(FileBuffer(), pcLength);
    writer->Close();
    writer.reset();
    Blank(24);
}
