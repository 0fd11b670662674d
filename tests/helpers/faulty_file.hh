// A file of a host's own class, which notes what it is asked and answers as a test wants.
#ifndef ZT_TESTS_FAULTY_FILE_HH
#define ZT_TESTS_FAULTY_FILE_HH

#include "io/ztfile.h"

#include <map>
#include <string>
#include <vector>

// FaultyFile: overrides every primitive, with calls of the parent's unless a FileScript says otherwise.
#define FaultyFile_FIELDS ztFile_FIELDS
#define FaultyFile_METHODS ztFile_METHODS
ZT_DECLARE_CLASS(FaultyFile)

// What all faulty files do as long as it lives; there is one at a time.
class FileScript {
 public:
  FileScript();
  ~FileScript();
  FileScript(const FileScript &) = delete;
  FileScript &operator=(const FileScript &) = delete;

  // The calls so far, each with the number or the text that it was given: "readInt", "readBuf 8".
  std::vector<std::string> calls;
  // The same without what was given: how often the method was called.
  int count(const std::string &method) const;

  // Once so many more calls of the method went through, all that follow give the result and do nothing else.
  void answer(const std::string &method, int64_t result = 0, int after = 0);
  // The same, whichever primitives are called.
  void answerAll(int64_t result = 0, int after = 0);
  // No call is answered any more.
  void clear();

  struct Answer {
    int64_t result;
    int after;
  };
  // Notes a call; its answer, or NULL.
  const Answer *note(const std::string &method, const std::string &given);

 private:
  std::map<std::string, Answer> answers;
};

#endif
