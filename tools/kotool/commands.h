// The subcommands of kotool. Each takes the arguments from the subcommand name on
// (argv[0] is the name) and returns the process exit status.
#pragma once

#include <string>

int cmdMsg(int argc, char** argv);
int cmdLike(int argc, char** argv);
int cmdTokens(int argc, char** argv);
int cmdFiles(int argc, char** argv);
int cmdLocate(int argc, char** argv);
int cmdConnstr(int argc, char** argv);
int cmdDsn(int argc, char** argv);
int cmdGet(int argc, char** argv);
int cmdSet(int argc, char** argv);
int cmdDelete(int argc, char** argv);
int cmdGrammarParse(int argc, char** argv);
int cmdTree(int argc, char** argv);
int cmdCheck(int argc, char** argv);
int cmdQuery(int argc, char** argv);
int cmdTime(int argc, char** argv);

// After a failed look-up on the file at `path`: a one-line hint on standard error when the
// file has lines `kotool check` would list.
void hintAtCheck(const char* command, const std::string& path);
