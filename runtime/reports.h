// The code and text of every report of the library. Logs depend on them byte for byte, misspellings included.
#ifndef ZEL_RUNTIME_REPORTS_H
#define ZEL_RUNTIME_REPORTS_H

#include "runtime/error_report.h"

namespace zel::reports {

// The first number of the text is a field's id.
inline constexpr bool kNamesField = true;

// Data dictionary and fields on the wire.
inline constexpr Report kGetFldByNameFailed{1001, "GetFldByName() Failed"};
inline constexpr Report kGetFldEntryFailed{1001, "GetFldEntry() Failed"};
inline constexpr Report kNoDictionary{1412, "Data Dictionary not initialized in shared memory"};
inline constexpr Report kGetNextFieldFailed{1413, "GetNextField() failed"};
inline constexpr Report kUnknownFieldSkipped{1414, "FieldId[%d]", kNamesField};

// Message model.
inline constexpr Report kNoMessageTable{1415, "Message table not initialized in shared memory"};
inline constexpr Report kNoSuchMessage{1416, "Type/SubType pair not found in the message table in shared memory"};
inline constexpr Report kNegativeRepeatCount{1001, "RepeatCount parameter must have a positive value"};
inline constexpr Report kTooManySlots{1001, "CreateZELDataBuf() failed"};
inline constexpr Report kModelAllocation{kSystemErrorNumber, "malloc() call failed"};
inline constexpr Report kFreeDataBufFailed{1001, "FreeZELDataBuf() failed"};
inline constexpr Report kFreeMsgStructFailed{1001, "FreeZelMsgStruct() failed"};

// Field codec.
inline constexpr Report kPackFieldFailed{1001, "PackZELField() failed"};
inline constexpr Report kUnpackFieldFailed{1001, "UnpackZELField() failed"};
inline constexpr Report kUnpackFieldIdFailed{1001, "UnpackZELFieldId() failed"};
inline constexpr Report kPackFormatInvalid{1426, "Invalid ZELFormat"};
inline constexpr Report kUnpackFormatInvalid{1426, "Invalid ZEL Format"};
inline constexpr Report kPackTypeUnknown{1027, "Invalid Field[%d], FieldType[%d] received", kNamesField};
inline constexpr Report kPackEmptyUnknown{1027, "Invalid Field[%d], Type[%d]", kNamesField};
inline constexpr Report kUnpackTypeUnknown{1027, "Invalid Field Type[%d] received"};

// Frame and header. The three faults of a header field carry the field's name.
inline constexpr Report kNoSoh{1005, "SOH not in header"};
inline constexpr Report kBuildHeaderFailed{1001, "BuildZELHeader() failed"};
inline constexpr Report kUnpackHeaderFailed{1001, "UnpackZELHeader() failed"};
inline constexpr Report kHeaderFieldMissing{1413, "%s"};
inline constexpr Report kHeaderFieldUnpackable{1417, "%s"};
inline constexpr Report kHeaderFieldUnreadable{1427, "%s"};
inline constexpr Report kUserDataAllocation{kSystemErrorNumber, "Malloc for VarUserData failed"};

// Building.
inline constexpr Report kBuildFailed{1001, "BuildZELMessage() failed"};
inline constexpr Report kFieldVersionUnknown{1486, "Incorrect field version for field[%hd].", kNamesField};
inline constexpr Report kNewFieldMandatory{1485, "New FieldId[%d] can't be mandatory", kNamesField};
inline constexpr Report kMandatoryFieldMissing{1476, "Manadatory field(%hd) not in the list.", kNamesField};
inline constexpr Report kFieldUnpackable{1417, "FieldId[%d]", kNamesField};
inline constexpr Report kTransformFailed{1419, "ZELEncryptData() failed"};
inline constexpr Report kHeaderNotBuilt{1418, "Can not build ZEL header"};

// Unpacking and validation.
inline constexpr Report kUnpackFailed{1001, "UnpackZELMessage() failed"};
inline constexpr Report kHeaderNotUnpacked{1423, "Can not Unpack ZEL Header"};
inline constexpr Report kExpansionFailed{1422, ""};
inline constexpr Report kInverseTransformFailed{1420, ""};
inline constexpr Report kFieldIdUnreadable{1413, "UnpackZELMessage"};
inline constexpr Report kFieldUnreadable{1427, "FieldId[%d]", kNamesField};
inline constexpr Report kValidateFormatInvalid{1426, "ValidateZELMsg()"};
inline constexpr Report kUnpackMessageFormatInvalid{1426, "UnpackZELMessage()"};
inline constexpr Report kFieldNotInList{1425, "Field Received[%d] is not in the list of fields", kNamesField};
inline constexpr Report kFieldUnknown{1027, "Field[%d]", kNamesField};
inline constexpr Report kValueAllocation{kSystemErrorNumber, "Malloc failed"};

// Message object.
inline constexpr Report kValidateFailed{1432, "ValidateZELMsg() failed"};
inline constexpr Report kMessageNotCreated{1434, "MsgType = %d, SubType = %d"};
inline constexpr Report kMessageNotBuilt{1435, "Cannot build ZEL message: %s for dest: %d"};
inline constexpr Report kMessageNotUnpacked{1437, "Cannot unpack ZEL msg recvd from Rtr"};

// Value conversion.
inline constexpr Report kFormatMoneyFailed{1001, "ZELFormatMoney failed"};
inline constexpr Report kUnformatMoneyFailed{1001, "ZELunformatMoney failed"};
inline constexpr Report kInvalidDisplayCode{1462, "Invalid DisplayCode[%ld] in MONEY Data"};
inline constexpr Report kInvalidMoney{1467, "Invalid Money Format: %s"};
inline constexpr Report kTooManyComponents{1467, "Invalid Money Format - too many components : %s"};
inline constexpr Report kSpaceBetweenTwo{1467, "Invalid Money Format - 2 components space sep : %s"};
inline constexpr Report kFormatDateTimeFailed{1001, "ZELFormatDateTime failed"};
inline constexpr Report kDateToStrFailed{1001, "ZELDateToStr failed"};
inline constexpr Report kTimeToStrFailed{1001, "ZELTimeToStr failed"};
inline constexpr Report kDateTimeToStrFailed{1001, "ZELDateTimeToStr failed"};
inline constexpr Report kInvalidDate{1463, "Invalid Date Format: %s"};
inline constexpr Report kInvalidTime{1464, "Invalid Time Format: %s"};

}  // namespace zel::reports

#endif  // ZEL_RUNTIME_REPORTS_H
