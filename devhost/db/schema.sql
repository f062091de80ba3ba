-- The demo ERP database of the development host (SQLite).
-- The t_ tables hold the ERP's own data as the add-in reads it; the dh_ tables
-- belong to the development host (resources, audit log, call journal, failure
-- switches, sessions, rights, SMS outbox).
-- The generator reads this file at build time; keep it free of at-signs and
-- dollar-brace sequences.

PRAGMA foreign_keys = OFF;

-- Every master record of the ERP: departments (class 2), employees (class 3).
-- FDetail 0 marks a grouping node (a non-leaf item), 1 a leaf.
CREATE TABLE t_Item (
  FItemID      INTEGER NOT NULL PRIMARY KEY,
  FItemClassID INTEGER NOT NULL,
  FNumber      VARCHAR(80) NOT NULL,
  FName        VARCHAR(255),
  FParentID    INTEGER NOT NULL DEFAULT 0,
  FDetail      INTEGER NOT NULL DEFAULT 1,
  FDeleted     INTEGER NOT NULL DEFAULT 0
);
CREATE INDEX ix_t_Item_Class ON t_Item (FItemClassID, FNumber);

CREATE TABLE t_Department (
  FItemID  INTEGER NOT NULL PRIMARY KEY,
  FNumber  VARCHAR(80) NOT NULL,
  FName    VARCHAR(255)
);

CREATE TABLE t_Emp (
  FItemID       INTEGER NOT NULL PRIMARY KEY,
  FNumber       VARCHAR(80) NOT NULL,
  FName         VARCHAR(255),
  FDepartmentID INTEGER,
  FMobilePhone  VARCHAR(40)
);
CREATE INDEX ix_t_Emp_Department ON t_Emp (FDepartmentID, FNumber);
CREATE INDEX ix_t_Emp_Number ON t_Emp (FNumber);
CREATE INDEX ix_t_Emp_Mobile ON t_Emp (FMobilePhone);

-- Users and user groups share this table; a group is a row of its own.
-- Ordinary users have ids 16384 to 32767.
CREATE TABLE t_User (
  FUserID      INTEGER NOT NULL PRIMARY KEY,
  FName        VARCHAR(255) NOT NULL,
  FEmpID       INTEGER,
  FForbidden   INTEGER NOT NULL DEFAULT 0,
  FDescription VARCHAR(255),
  FUserType    INTEGER NOT NULL DEFAULT 0 -- 0 ordinary user, 1 system user, 2 group
);
CREATE INDEX ix_t_User_Name ON t_User (FName);
CREATE INDEX ix_t_User_Emp ON t_User (FEmpID);

-- Group membership: one row per (group, member) pair.
CREATE TABLE t_Group (
  FGroupID INTEGER NOT NULL,
  FUserID  INTEGER NOT NULL,
  PRIMARY KEY (FGroupID, FUserID)
);
CREATE INDEX ix_t_Group_User ON t_Group (FUserID);

CREATE TABLE t_SystemProfile (
  FCategory VARCHAR(80) NOT NULL,
  FKey      VARCHAR(80) NOT NULL,
  FValue    VARCHAR(255),
  FDescription VARCHAR(255),
  PRIMARY KEY (FCategory, FKey)
);

-- Translations of the simplified-Chinese texts, looked up by the resource loaders.
CREATE TABLE dh_Resource (
  FKey      VARCHAR(1000) NOT NULL,
  FLanguage VARCHAR(8) NOT NULL,   -- 'en' or 'cht'
  FText     VARCHAR(1000) NOT NULL,
  PRIMARY KEY (FKey, FLanguage)
);

-- The audit log written by the log server (FBatch 1 for rows of WriteBatchLog).
CREATE TABLE dh_AuditLog (
  FID          INTEGER PRIMARY KEY AUTOINCREMENT,
  FTime        VARCHAR(32) NOT NULL DEFAULT (strftime('%Y-%m-%d %H:%M:%f', 'now', 'localtime')),
  FUserID      INTEGER,
  FUserName    VARCHAR(255),
  FFuncID      VARCHAR(80),
  FStatement   INTEGER,
  FDesc        VARCHAR(2000),
  FMachineName VARCHAR(255),
  FIPAddress   VARCHAR(64),
  FBatch       INTEGER NOT NULL DEFAULT 0,
  FProcessID   INTEGER
);

-- Every call a component receives, written before it is answered; FResult is
-- filled in once the call has been answered (or has failed).
CREATE TABLE dh_Journal (
  FSeq       INTEGER PRIMARY KEY AUTOINCREMENT,
  FTime      VARCHAR(32) NOT NULL DEFAULT (strftime('%Y-%m-%d %H:%M:%f', 'now', 'localtime')),
  FProcessID INTEGER NOT NULL,
  FComponent VARCHAR(255) NOT NULL,
  FMethod    VARCHAR(255) NOT NULL,
  FKind      VARCHAR(8) NOT NULL,    -- 'call', 'get', 'put'
  FArguments TEXT,
  FResult    TEXT
);

-- Failure modes switched on by tests. FComponent is a ProgID (compared without
-- regard to case); FMethod is a member name or '*' for every member.
--   'empty'   the member answers an empty value of its kind
--   'raise'   the member raises an error
--   'missing' the component cannot be created (FMethod is not consulted)
CREATE TABLE dh_Switch (
  FComponent VARCHAR(255) NOT NULL COLLATE NOCASE,
  FMethod    VARCHAR(255) NOT NULL DEFAULT '*' COLLATE NOCASE,
  FMode      VARCHAR(16) NOT NULL CHECK (FMode IN ('empty', 'raise', 'missing')),
  PRIMARY KEY (FComponent, FMethod)
);

-- The user signed in for each process (the shared property manager's state).
CREATE TABLE dh_Session (
  FProcessID   INTEGER NOT NULL PRIMARY KEY,
  FUserID      INTEGER NOT NULL,
  FUserName    VARCHAR(255) NOT NULL,
  FLanguage    VARCHAR(8) NOT NULL,
  FPropsString VARCHAR(2000) NOT NULL,
  FTime        VARCHAR(32) NOT NULL DEFAULT (strftime('%Y-%m-%d %H:%M:%f', 'now', 'localtime'))
);

-- Access rights granted to users or groups (FUserID may be a group id).
-- Administrators (the user "administrator" and members of the group
-- "Administrators") hold every right without a row here.
CREATE TABLE dh_Right (
  FUserID     INTEGER NOT NULL,
  FObjectType INTEGER NOT NULL,
  FObjectID   INTEGER NOT NULL DEFAULT 0,
  FAccessMask INTEGER NOT NULL,
  PRIMARY KEY (FUserID, FObjectType, FObjectID)
);

-- Messages handed to the SMS gateway, one receiver row per receiver (the
-- receivers text split at commas, empty entries left out, in order). FUserID and
-- FUserName name the user of the session the message was sent in (Propstr).
CREATE TABLE dh_Outbox (
  FMessageID    INTEGER PRIMARY KEY AUTOINCREMENT,
  FTime         VARCHAR(32) NOT NULL DEFAULT (strftime('%Y-%m-%d %H:%M:%f', 'now', 'localtime')),
  FUserID       INTEGER,
  FUserName     VARCHAR(255),
  FTitle        VARCHAR(2000),
  FMsgType      INTEGER,
  FPropstr      VARCHAR(2000),
  FIsRevertible INTEGER,
  FReceivers    TEXT,
  FSenderID     VARCHAR(80),
  FFuncNumber   VARCHAR(80),
  FProcessID    INTEGER,
  FMachineName  VARCHAR(255)
);
CREATE INDEX ix_dh_Outbox_Time ON dh_Outbox (FTime);

-- Each receiver's delivery, decided when the gateway accepts the message and
-- reached as time goes by: waiting until FSentAt, sent until FDoneAt, then
-- FOutcome (2 delivered, 3 failed with FReason). The pace is dh_Setting's
-- 'DeliverySeconds' (0: at once).
CREATE TABLE dh_OutboxReceiver (
  FMessageID INTEGER NOT NULL,
  FSeq       INTEGER NOT NULL,
  FReceiver  VARCHAR(80) NOT NULL,
  FOutcome   INTEGER NOT NULL DEFAULT 2 CHECK (FOutcome IN (2, 3)),
  FReason    VARCHAR(255),
  FSentAt    VARCHAR(32),
  FDoneAt    VARCHAR(32),
  PRIMARY KEY (FMessageID, FSeq)
);

-- Numbers the operator refuses to deliver to.
CREATE TABLE dh_BlockList (
  FNumber VARCHAR(80) NOT NULL PRIMARY KEY
);

-- Settings of the development host's gateway (name, value).
CREATE TABLE dh_Setting (
  FName  VARCHAR(80) NOT NULL PRIMARY KEY,
  FValue VARCHAR(255)
);

-- Approval-notification services of the mobile modules. A bill-type group
-- belongs to one module ('W' logistics, 'Z' manufacturing, 'C' finance); each
-- bill type of a group is an ordinary service, switched on when FIsRun is 1
-- (NULL reads as off). Workflows of the business-object designer are the other
-- services, switched on when FIsMobileServiceRun is 1.
CREATE TABLE t_SMSBillGroup (
  FID     INTEGER NOT NULL PRIMARY KEY,
  FName   VARCHAR(255),
  FModule VARCHAR(8) NOT NULL
);

CREATE TABLE t_SMSBillUse (
  FID      INTEGER NOT NULL PRIMARY KEY,
  FGroupID INTEGER NOT NULL,
  FName    VARCHAR(255),
  FIsRun   INTEGER
);
CREATE INDEX ix_t_SMSBillUse_Group ON t_SMSBillUse (FGroupID, FID);

CREATE TABLE t_MobileFlow (
  FID                 INTEGER NOT NULL PRIMARY KEY,
  FMCName             VARCHAR(255),
  FIsMobileServiceRun INTEGER
);

-- Each user's subscriptions: FKind 2 a bill type, 3 a workflow.
CREATE TABLE t_SMSPrescribe (
  FUserID    INTEGER NOT NULL,
  FKind      INTEGER NOT NULL,
  FServiceID INTEGER NOT NULL,
  PRIMARY KEY (FUserID, FKind, FServiceID)
);
