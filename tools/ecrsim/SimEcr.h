// What the simulated cash register does with the application frames it receives: protocol
// identifiers, authorisation, operation requests, record transfer in both directions, clear
// and initialise with "wait" answers, fiscal commands and the two status answers.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "SectionStore.h"
#include "SimOptions.h"

class SimEcr {
public:
    SimEcr(const SimOptions& options, SectionStore& store);

    // Handles one application frame; answers are queued for Outgoing.
    void Handle(const std::vector<byte>& frame);
    // The PC has opened the line anew: a new session needs a new authorisation.
    void NewConnection();

    // Answers to send now, in order.
    std::deque<std::vector<byte>>& Outgoing() { return m_outgoing; }
    // Answers to records, held while the PC may still be sending records of its packet.
    std::deque<std::vector<byte>>& Held() { return m_held; }

private:
    // After its data session timed out the ECR answers records "unknown command" until a new
    // operation request comes.
    enum State { State_Idle, State_Writing, State_Deleting, State_TimedOut };

    void HandleAuthorisation(const std::vector<byte>& data);
    void HandleRequest(const std::vector<byte>& data);
    void HandleRecord(const std::vector<byte>& record);
    void HandleAfterTimeout(const std::vector<byte>& data);
    void HandleFiscal(const std::vector<byte>& data);
    void Queue(const std::vector<byte>& data);
    std::vector<byte> StatusRecord(bool eft) const;
    void Log(const std::string& text) const;

    const SimOptions& m_options;
    SectionStore& m_store;
    byte m_standardId;
    byte m_fiscalId;
    byte m_authId;
    bool m_authorised = false;
    State m_state = State_Idle;
    int m_section = 0;
    int m_sessionRecords = 0;
    int m_fiscalCommands = 0;
    std::deque<std::vector<byte>> m_outgoing;
    std::deque<std::vector<byte>> m_held;
};
