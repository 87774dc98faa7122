// The position manager: turns the module's byte stream (or a ready-made position input) into
// the current position record and the module state, and builds the module's command frames.
//
// Takes no lock: all writers run on the thread that delivers the input; the owner serialises.
// Results: 1 success, 0 failure or refusal.
#ifndef GPSDR_POSITION_POSITIONMGR_H
#define GPSDR_POSITION_POSITIONMGR_H

#include <atomic>
#include <cstdint>

#include "module/MM/MMTypes.h"
#include "module/position/ZELKOParser.h"
#include "module/position/ZelkoCatalogue.h"

// Input of the offset transform step.
struct VIT_S {
    int32_t lFlag;  // always 1
    int32_t lWeek;  // always 0
    int32_t lTime;  // the position's lTime
    _mGpsDataEx stGps;
};

// Offset transform of vit->stGps into *out; 1 on success, 0 on failure (out then all zero, or
// untouched for a null vit).
int GetGpsData(VIT_S* vit, _mGpsDataEx* out);

// What ParsingZelko made of the stream since the position manager was created. Counters wrap
// at 2^32.
struct ZelkoParseStats {
    uint32_t ulBytes;                       // handed to ParsingZelko
    uint32_t ulAccepted[ZELKO_KIND_COUNT];  // frames accepted, by row of kZelkoKinds
    uint32_t ulChecksumFailures;
    uint32_t ulEscapeFailures;     // frames whose escapes could not be removed
    uint32_t ulRefusedLengths;     // too short for a frame, an acknowledgement of no known length, an unknown 7033 format
    uint32_t ulUnknownKinds;       // code and subcode of no kind
    uint32_t ulResetOverflow;      // the store buffer would have overflowed
    uint32_t ulResetNoStart;       // a chunk left no start marker
    uint32_t ulResetTooMany;       // more frames in one call than are handled
    uint32_t ulResetTrailing;      // bytes without a start marker behind the last frame
};

class CPositionMgr {
public:
    enum { STORE_BUFFER_SIZE = 4096, SATEL_TABLE_SIZE = 32 };

    CPositionMgr();
    virtual ~CPositionMgr();
    CPositionMgr(const CPositionMgr&) = delete;
    CPositionMgr& operator=(const CPositionMgr&) = delete;

    // Stores the settings and creates the parser once. unitKind goes to
    // CMMUtility::ChangeLonLatUnits; drKind 8 changes the GPS-heading rule. Returns 1.
    int Initialize(unsigned char kind, unsigned char unitKind, unsigned short drKind);

    // ---- input
    // Module bytes, any chunking. 1 when a fix-with-DR message (3002) was handled in this call.
    int ParsingZelko(char* data, unsigned short len);
    // A raw 36-byte _mGpsDataEx (or the 32-byte earlier form).
    int ParsingGpsStruct(char* data, unsigned short len);
    // An FS record (length not checked). Its heading is normalised in place.
    int ParsingFS(char* data, unsigned short len = 0);
    // An FS satellite record: byte 36 becomes ucSatUsed.
    int ParsingFSSat(char* data, unsigned short len = 0);
    int SetPosData(_mGpsDataEx* pos);
    // Offset transform of in into out; 0 (out = in) when a coordinate is 0 or the transform fails.
    int ConVConvert(_mGpsDataEx* in, _mGpsDataEx* out, int unused);

    // ---- copies of the state; 0 for a null pointer
    int GetPosData(_mGpsDataEx* out) const;
    int GetSatelData(_mSatelView* out) const;  // all SATEL_TABLE_SIZE entries
    int GetZelkoStatusData(_sZelkoStatusData* out) const;
    int GetZelkoSubData(_sZelkoSubData* out) const;
    int GetZelkoTimeData(_sZelkoTimeData* out) const;
    int GetZelkoLowOutData(_mZelkoLowDataInfo* out) const;
    int GetEngineeringModeData(_mGPSDREngineerInfo* out) const;
    int GetEngineeringModeDataEx(_mGPSDREngineerInfoEx* out) const;
    int GetGPSDRDiagnosisData(_mGPSDRDiagnosis* out) const;
    int GetParseStats(ZelkoParseStats* out) const;
    // The parser's record of the last accepted frame of kind id (its catalogue layout) into out;
    // the record's size, or 0 for an unknown id or too small a buffer.
    int GetLastRecord(int id, unsigned char* out, unsigned cap) const;

    int SetCurMMPosForInfo(_mPosition pos);
    short GetGyroCalHead() const;  // 0.1 degree
    void SetFactoryMode(char mode);
    char GetFactoryMode() const;

    // Time from a reset command to the module's first 3-D fix.
    void StartMeasureFixTime(unsigned char resetKind);
    int StopMeasureFixTime();
    // 1 with the reset kind and elapsed ms once a measurement has completed; else 0, untouched.
    int GetZelkoResetTime(unsigned char& resetKind, unsigned long& elapsedMs) const;

    // Start-up session checks: 1 when nothing more needs to be asked.
    int CheckGetZelkoVer(unsigned char which) const;
    int CheckGetMountAngle();

    // ---- command frames into the caller's buffer; len is written before any check.
    static int MakeZelkoSysSet(unsigned char command, unsigned char* buf, unsigned long cap, unsigned long& len);
    static int MakeZelkoSysQuery(unsigned char query, unsigned char* buf, unsigned long cap, unsigned long& len);
    // Needs cap >= 88 (room for every byte escaped). Type 1 marks a mount-angle reset pending.
    int MakeMountAngleCal(unsigned char type, short pitch, short roll, unsigned char* buf, unsigned long cap,
                          unsigned long& len);
    // Checksum byte for buf[0..len-1] computed with the checksum position holding 0.
    static unsigned char MakeZelkoCS(unsigned char* buf, unsigned long len);
    // Escapes buf in place (scanning the whole capacity, which must be zero past the frame);
    // returns the escape pairs inserted.
    static unsigned char MakeStuffPacket(unsigned char* buf, unsigned long len, unsigned long cap);
    static int DeleteSendPacketBuf(unsigned char* buf);

private:
    // ---- per-message actions on the de-stuffed record of each kind
    void ActOnMessage(int id);
    void CountFrame(int id);
    void OnAckNoIdx(const unsigned char* f);
    void OnAckIdx(const unsigned char* f);
    void OnSysCmdAck(const unsigned char* f);
    void OnAppVersion(const unsigned char* f);
    void OnProductReport(const unsigned char* f);
    void OnHardwareReport(const unsigned char* f);
    void OnEventLog(const unsigned char* f);
    void OnFixWithRawDR(const unsigned char* f);
    void OnGpsFix(const unsigned char* f);
    void OnTimeConstel(const unsigned char* f);
    void OnChannelMeas(const unsigned char* f);
    void ClaimSatelEntry(unsigned entry, uint8_t id);
    void OnDRSensor(const unsigned char* f);
    void OnMountAngle(const unsigned char* f);

    void ClearStore();
    void MakeRoom(unsigned add);
    void ResetEngineeringForInput();

    CZELKOParser* m_pParser;
    uint8_t m_ucKind;
    uint8_t m_ucUnitKind;
    uint16_t m_wDRKind;

    _mGpsDataEx m_stPos;
    _mSatelView m_stSatel[SATEL_TABLE_SIZE];
    // Where a channel report goes without searching the table: per satellite id the first entry
    // holding it, and the first free entry (SATEL_TABLE_SIZE for none). Only OnChannelMeas
    // changes the table, and it keeps these up to date.
    uint8_t m_ucSatelAt[256];
    uint8_t m_ucSatelFree;
    _sZelkoStatusData m_stStatus;
    _sZelkoSubData m_stSub;
    _sZelkoTimeData m_stTime;
    _mZelkoLowDataInfo m_stLowOut;
    _mGPSDREngineerInfo m_stEng;
    _mGPSDREngineerInfoEx m_stEngEx;

    // Fix-time measurement: started from the caller's thread, stopped by the data thread.
    std::atomic<uint8_t> m_ucMeasuring;
    std::atomic<uint8_t> m_ucResetKind;  // 255: none
    std::atomic<uint32_t> m_ulStartTick;
    std::atomic<uint32_t> m_ulStopTick;

    _mGPSDRDiagnosis m_stDiagnosis;

    unsigned char m_ucStore[STORE_BUFFER_SIZE];
    uint16_t m_wStoreLen;
    uint16_t m_wStoreHead;  // where the stored bytes begin
    ZelkoParseStats m_stParseStats;

    uint8_t m_ucDRHeadValid;
    std::atomic<uint8_t> m_ucMountPending;  // set by the command builder on the caller's thread
    uint8_t m_ucMountAcked;
    std::atomic<int16_t> m_sGyroHead;       // whole degrees, read by the matching step
    std::atomic<uint8_t> m_ucFactoryMode;
};

#endif
