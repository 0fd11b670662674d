#include "io/ztclaims.hh"

#include "core/ztlock.hh"
#include "core/ztthread.hh"
#include "io/ztstream.hh"
#include "io/zttxtfile.h"

using namespace ztcore;

// The accounts -------------------------------------------------------------------------------------
//
// There are few: a file has an account only while objects with claims are read from it, or while claims are
// unmet. tablesLock guards which file an account belongs to; only the thread that reads the file uses the rest.

constexpr int accountCount = 32;
static ClaimAccount accounts[accountCount];
static int32_t accountsInUse;
static int nextVictim;

static ClaimAccount *find(const void *file) {
  for (ClaimAccount &account : accounts) {
    if (account.file == file) return &account;
  }
  return nullptr;
}

// A free account, or that of a file which is not being read. NULL when there is none.
static ClaimAccount *findFree() {
  ClaimAccount *account = find(nullptr);
  for (int i = 0; account == nullptr && i < accountCount; ++i) {
    nextVictim = (nextVictim + 1) % accountCount;
    if (accounts[nextVictim].depth == 0) account = &accounts[nextVictim];
  }
  return account;
}

static void clear(ClaimAccount *account) {
  if (account->file != nullptr) __atomic_sub_fetch(&accountsInUse, 1, __ATOMIC_RELAXED);
  *account = {};
}

// The account of the file; NULL when files that are being read have all accounts.
static ClaimAccount *findOrMake(const void *file) {
  ClaimAccount *account = find(file);
  if (account != nullptr) return account;
  account = findFree();
  if (account == nullptr) return nullptr;
  clear(account);
  __atomic_add_fetch(&accountsInUse, 1, __ATOMIC_RELAXED);
  return account;
}

void ztcore::forgetClaims(const void *file) {
  if (__atomic_load_n(&accountsInUse, __ATOMIC_RELAXED) == 0) return;
  const Locked locked(tablesLock);
  ClaimAccount *account = find(file);
  if (account != nullptr) clear(account);
}

// Whether a claim is read again from an earlier position: the claims of the previous read then do not count.
static bool isReadAgain(const ClaimAccount *account, const FILE *stream, int64_t position) {
  return account->stream != stream || (position >= 0 && position <= account->position);
}

static void begin(ClaimAccount *account, const void *file, const FILE *stream, int64_t position) {
  if (account->depth == 0 && isReadAgain(account, stream, position)) account->claimed = account->read = 0;
  account->file = file;
  account->stream = stream;
  account->position = position;
  if (account->depth++ == 0) account->countedFrom = thisThread.bytesRead;
}

static void end(ClaimAccount *account, const void *file) {
  const Locked locked(tablesLock);
  // Reading may have closed the file.
  if (account->file != file || --account->depth > 0) return;
  account->read += static_cast<int64_t>(thisThread.bytesRead - account->countedFrom);
  if (account->claimed <= 0) clear(account);
}

// The claims of an object --------------------------------------------------------------------------

static bool usesPrimitivesOf(const ztFileMethods *methods, const ztFileMethods *others) {
  return methods->readInt == others->readInt && methods->readBuf == others->readBuf &&
         methods->readString == others->readString;
}

Claims::Claims(void *source)
    : file(source), stream(static_cast<const ztFile *>(source)->stream), lastRead(thisThread.bytesRead) {
  const ztFileMethods *methods = ztFile_of(file);
  const auto *textMethods = static_cast<const ztFileMethods *>(ztTextFileClass_Instance()->methodTable);
  text = usesPrimitivesOf(methods, textMethods);
  if (text || usesPrimitivesOf(methods, ztFile_table())) own = stream;
}

Claims::~Claims() {
  if (shared != nullptr && shared != &local) end(shared, file);
}

bool Claims::readCount(int32_t *count) {
  thisThread.countSource = nullptr;
  const bool isRead = ztFile_of(file)->readInt(file, count) > 0 && *count >= 0;
  counted = stream != nullptr && thisThread.countSource == file;
  return isRead;
}

ClaimAccount *Claims::account() {
  if (shared != nullptr) return shared;
  const int64_t position = stream == nullptr ? -1 : ftello(stream);
  const Locked locked(tablesLock);
  shared = findOrMake(file);
  if (shared == nullptr) shared = &local;
  begin(shared, file, stream, position);
  return shared;
}

static int64_t limitFor(int64_t read) {
  constexpr int64_t always = 65536;
  constexpr int64_t forEachByte = 3;  // in addition to the byte itself
  return read > 0 ? always + forEachByte * read : always;
}

int64_t Claims::read() {
  const int64_t position = stream == nullptr ? -1 : ftello(stream);
  if (position >= 0) return position;
  const ClaimAccount *mine = account();
  return mine->read + static_cast<int64_t>(thisThread.bytesRead - mine->countedFrom);
}

int64_t Claims::limit() {
  return limitFor(read());
}

int64_t Claims::left() {
  return limit() - account()->claimed;
}

bool Claims::isHeld(int64_t bytes) {
  if (!counted) return false;
  const int64_t inFile = bytesLeft(stream);
  return inFile >= 0 && bytes <= inFile - account()->claimed;
}

bool Claims::isExcessive(int64_t elements, int64_t inFile, int64_t inMemory) {
  const int64_t left = counted && inFile > 0 ? bytesLeft(stream) : -1;
  if (left < 0 || elements <= left / inFile) return false;
  return (elements - left / inFile) * inMemory > limitFor(read() + left);
}

bool Claims::take(int64_t bytes) {
  if (bytes > left()) return false;
  hold(bytes);
  return true;
}

void Claims::hold(int64_t bytes) {
  account()->claimed += bytes;
  unmet += bytes;
}

void Claims::give(int64_t bytes) {
  hold(-bytes);
}

void Claims::giveAll() {
  give(unmet);
}

void Claims::addArrived(int64_t bytes) {
  account()->read += bytes;
}

int64_t Claims::arrivedSince() {
  const uint64_t before = lastRead;
  lastRead = thisThread.bytesRead;
  return static_cast<int64_t>(lastRead - before);
}
