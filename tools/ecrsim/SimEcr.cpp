#include "SimEcr.h"

#include <algorithm>
#include <cstdio>

#include "EcrComm/EcrComm.h"
#include "Formatting/BinaryDataFormatter.h"

namespace {

const char* const actionNames[] = {"?", "read", "write", "clear", "init", "delete"};

// An application frame: protocol id, little-endian data length, data.
std::vector<byte> ApplicationFrame(byte protocolId, const std::vector<byte>& data) {
    std::vector<byte> frame(3 + data.size());
    frame[0] = protocolId;
    frame[1] = static_cast<byte>(data.size() & 0xFF);
    frame[2] = static_cast<byte>(data.size() >> 8);
    std::copy(data.begin(), data.end(), frame.begin() + 3);
    return frame;
}

std::vector<byte> Code(byte code) {
    return std::vector<byte>(1, code);
}

} // namespace

SimEcr::SimEcr(const SimOptions& options, SectionStore& store)
    : m_options(options), m_store(store),
      m_standardId(options.protocolSet == 1 ? Protocol_Standard_Set1 : Protocol_Standard),
      m_fiscalId(options.protocolSet == 1 ? Protocol_Fiscal_Set1 : Protocol_Fiscal),
      m_authId(options.protocolSet == 1 ? Protocol_SessionAuth_Set1 : Protocol_SessionAuth),
      m_packet(static_cast<size_t>(options.packet)) {}

void SimEcr::Log(const std::string& text) const {
    if (!m_options.quiet) {
        std::fprintf(stderr, "ecrsim: %s\n", text.c_str());
    }
}

void SimEcr::NewConnection() {
    Log("new connection");
    if (m_state != State_Idle || !m_outgoing.empty() || !m_held.empty()) {
        Log("the unfinished session of the previous link ends");
    }
    m_outgoing.clear();
    m_held.clear();
    m_state = State_Idle;
    m_authorised = false;
}

void SimEcr::EndSession(const std::string& reason) {
    Log("data session ended: " + reason);
    m_outgoing.clear();
    m_held.clear();
    if (InDataSession()) {
        m_store.Save(m_section);
        m_state = State_TimedOut;
    }
}

bool SimEcr::HeldPacketComplete() const {
    return m_packet > 0 && m_held.size() >= m_packet;
}

void SimEcr::ReleaseHeld(bool afterPause) {
    if (afterPause && m_options.packet == 0) {
        m_packet = std::max(m_packet, m_held.size());
    }
    m_outgoing.insert(m_outgoing.end(), m_held.begin(), m_held.end());
    m_held.clear();
}

void SimEcr::Handle(const std::vector<byte>& frame) {
    if (frame.size() < 3 || static_cast<size_t>(frame[1] | (frame[2] << 8)) != frame.size() - 3) {
        Log("<- malformed application frame " + HexBytes(frame) + ", ignored");
        return;
    }
    const byte id = frame[0];
    const std::vector<byte> data(frame.begin() + 3, frame.end());
    if (id == m_authId) {
        HandleAuthorisation(data);
    } else if (id == m_fiscalId) {
        HandleFiscal(data);
    } else if (id != m_standardId) {
        Log("<- frame of unknown protocol " + std::to_string(id) + ", ignored");
    } else if (m_state == State_TimedOut) {
        HandleAfterTimeout(data);
    } else if (m_state != State_Idle) {
        HandleRecord(data);
    } else if (!data.empty()) {
        HandleRequest(data);
    }
}

void SimEcr::HandleAuthorisation(const std::vector<byte>& data) {
    // The first byte is the password's length.
    const std::string password =
        data.empty() ? std::string() : std::string(data.begin() + 1, data.end());
    m_authorised = m_options.password.empty() || password == m_options.password;
    Log(std::string("<- authorisation ") + (m_authorised ? "accepted" : "refused"));
    m_outgoing.push_back(
        ApplicationFrame(m_authId, Code(m_authorised ? ResponseCode_OK : ResponseCode_AuthFailed)));
}

void SimEcr::HandleRequest(const std::vector<byte>& data) {
    if (AnsweredWithoutAction(data)) {
        return;
    }
    const int section = data[0];
    const byte action = data[1];
    m_section = section;
    m_sessionRecords = 0;
    switch (action) {
    case Action_Read:
        StartRead(section);
        break;
    case Action_Write:
    case Action_Delete:
        Answer(ResponseCode_OK);
        if (m_options.packet == 0) {
            m_packet = 0; // another run may send packets of another size
        }
        m_state = action == Action_Write ? State_Writing : State_Deleting;
        break;
    case Action_Clear:
    case Action_Init:
        ClearSection(section);
        break;
    default:
        Answer(ResponseCode_UnknownCommand);
        break;
    }
}

bool SimEcr::AnsweredWithoutAction(const std::vector<byte>& data) {
    if (data.size() < 2) {
        Log("<- request too short " + HexBytes(data));
        Answer(ResponseCode_UnknownCommand);
        return true;
    }
    const byte action = data[1];
    Log("<- request " + std::string(action <= 5 ? actionNames[action] : "?") + " section " +
        std::to_string(data[0]));
    if (!m_options.password.empty() && !m_authorised) {
        Log("-> not authorised");
        Answer(ResponseCode_BadFrame);
        return true;
    }
    if (m_options.requestAnswer >= 0) {
        Answer(static_cast<byte>(m_options.requestAnswer));
        return true;
    }
    return false;
}

void SimEcr::Answer(byte code) {
    m_outgoing.push_back(ApplicationFrame(m_standardId, Code(code)));
}

void SimEcr::StartRead(int section) {
    Answer(ResponseCode_OK);
    for (const std::vector<byte>& record : m_store.Records(section)) {
        m_outgoing.push_back(ApplicationFrame(m_standardId, record));
    }
    m_outgoing.push_back(ApplicationFrame(m_standardId, {}));
}

void SimEcr::ClearSection(int section) {
    Answer(ResponseCode_OK);
    m_store.Clear(section);
    m_store.Save(section);
    for (int i = 0; i < m_options.waitFrames; ++i) {
        Answer(ResponseCode_Wait);
    }
    Answer(ResponseCode_OK);
}

void SimEcr::HandleRecord(const std::vector<byte>& record) {
    auto answer = [&](const std::vector<byte>& data) {
        m_held.push_back(ApplicationFrame(m_standardId, data));
    };
    if (record.empty()) {
        Log("<- end of data, section " + std::to_string(m_section) + " has " +
            std::to_string(m_store.Records(m_section).size()) + " records");
        m_store.Save(m_section);
        m_state = State_Idle;
        return;
    }
    if (m_options.sessionTimeoutAfter > 0 && m_sessionRecords >= m_options.sessionTimeoutAfter) {
        Log("-> data session timed out on purpose");
        m_store.Save(m_section);
        m_state = State_TimedOut;
        answer(Code(ResponseCode_UnknownCommand));
        return;
    }
    ++m_sessionRecords;
    const long long key = SectionStore::RecordKey(record);
    Log("<- record " + RecordAsCsv(record));
    const auto badData = m_options.badDataRecords.find(key);
    if (badData != m_options.badDataRecords.end()) {
        // The ECR names the field by its 0-based index.
        byte answerData[16] = {ResponseCode_BadData};
        BinaryDataFormatter formatter(answerData + 1, sizeof(answerData) - 1);
        formatter.AddNumber(Decimal(badData->second - 1, 0));
        answer(std::vector<byte>(answerData, answerData + 1 + formatter.GetLength()));
        return;
    }
    if (m_options.busyRecords.count(key) != 0) {
        answer(Code(ResponseCode_Busy));
        return;
    }
    if (m_state == State_Deleting) {
        m_store.Remove(m_section, record);
    } else {
        m_store.Put(m_section, record);
    }
    answer(Code(ResponseCode_OK));
}

void SimEcr::HandleAfterTimeout(const std::vector<byte>& data) {
    const bool isRequest = data.size() == 3 && data[2] == StandardRequestVersion;
    if (isRequest || data.empty()) {
        m_state = State_Idle;
        if (isRequest) {
            HandleRequest(data);
        }
        return;
    }
    Log("<- record after the session timed out");
    m_held.push_back(ApplicationFrame(m_standardId, Code(ResponseCode_UnknownCommand)));
}

std::vector<byte> SimEcr::StatusRecord(bool eft) const {
    byte buffer[256];
    BinaryDataFormatter formatter(buffer, sizeof(buffer));
    if (eft) {
        formatter.AddNumber(Decimal(1, 0));
        formatter.AddString("EFT READY");
    } else {
        formatter.AddNumber(Decimal(4711, 0));
        formatter.AddString("FISCAL OK");
        formatter.AddNumber(Decimal(m_fiscalCommands, 0));
        formatter.AddNumber(Decimal(12345, 2));
    }
    return std::vector<byte>(buffer, buffer + formatter.GetLength());
}

void SimEcr::HandleFiscal(const std::vector<byte>& data) {
    auto answer = [&](const std::vector<byte>& answerData) {
        m_outgoing.push_back(ApplicationFrame(m_fiscalId, answerData));
    };
    if (data.empty()) {
        answer(Code(ResponseCode_UnknownCommand));
        return;
    }
    if (data[0] == Fiscal_ReadStatusCommand || data[0] == Fiscal_ReadEftStatusCommand) {
        const bool eft = data[0] == Fiscal_ReadEftStatusCommand;
        Log(std::string("<- ") + (eft ? "EFT" : "fiscal") + " status request");
        if (!m_options.password.empty() && !m_authorised) {
            answer(Code(ResponseCode_AuthFailed));
            return;
        }
        std::vector<byte> status = Code(ResponseCode_OK);
        const std::vector<byte> record = StatusRecord(eft);
        status.insert(status.end(), record.begin(), record.end());
        answer(status);
        return;
    }
    Log("<- fiscal command " + std::to_string(data[0]) + " " +
        HexBytes(std::vector<byte>(data.begin() + 1, data.end())));
    if (!m_options.password.empty() && !m_authorised) {
        answer(Code(ResponseCode_AuthFailed));
        return;
    }
    for (int i = 0; i < m_options.waitFrames; ++i) {
        answer(Code(ResponseCode_Wait));
    }
    if (m_options.fiscalAnswer == ResponseCode_OK) {
        ++m_fiscalCommands;
        m_store.Journal(data);
    }
    answer(Code(static_cast<byte>(m_options.fiscalAnswer)));
}
