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
    // Neither the options nor the store are owned; both must outlive the object.
    SimEcr(const SimOptions& options, SectionStore& store);

    // Handles one application frame; answers are queued for Outgoing or held (HasHeld).
    void Handle(const std::vector<byte>& frame);
    // The PC has opened the line anew: an unfinished data session ends, everything queued
    // for the old link is dropped, and a new session needs a new authorisation.
    void NewConnection();
    // Ends an unfinished data session on the register's side (the reason goes to the traffic
    // log): queued and held answers are dropped, and records that still come are answered
    // "unknown command" until the next operation request.
    void EndSession(const std::string& reason);
    // True while the PC is sending the records of a write or delete.
    bool InDataSession() const { return m_state == State_Writing || m_state == State_Deleting; }

    // Answers to send now, in order.
    std::deque<std::vector<byte>>& Outgoing() { return m_outgoing; }

    // Answers to records are held while the PC may still be sending records of its packet:
    // an answer crossing the PC's next record would be lost on the PC's side.
    bool HasHeld() const { return !m_held.empty(); }
    // True when a whole packet's answers are held (the packet size is given or learnt).
    bool HeldPacketComplete() const;
    // Moves the held answers to Outgoing. afterPause: the PC has gone quiet, so it has sent
    // its whole packet; the count then teaches the packet size unless --packet gave it.
    void ReleaseHeld(bool afterPause);

private:
    // After its data session timed out the ECR answers records "unknown command" until a new
    // operation request comes.
    enum State { State_Idle, State_Writing, State_Deleting, State_TimedOut };

    void HandleAuthorisation(const std::vector<byte>& data);
    void HandleRequest(const std::vector<byte>& data);
    // Logs the request and answers it at once when it is too short, not authorised or answered
    // by --request-answer; true when it has been answered so.
    bool AnsweredWithoutAction(const std::vector<byte>& data);
    // Queues a standard answer of just its code.
    void Answer(byte code);
    // The OK, every record of the section, and the end of the data.
    void StartRead(int section);
    // The section emptied and saved, answered OK, the "wait" answers and OK again.
    void ClearSection(int section);
    void HandleRecord(const std::vector<byte>& record);
    void HandleAfterTimeout(const std::vector<byte>& data);
    void HandleFiscal(const std::vector<byte>& data);
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
    size_t m_packet; // records per packet; 0 while not known
    int m_fiscalCommands = 0;
    std::deque<std::vector<byte>> m_outgoing;
    std::deque<std::vector<byte>> m_held;
};
