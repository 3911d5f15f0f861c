#pragma once
// The add-on's plain-text debug log. Each call appends one line and closes
// the file again, so nothing already logged is lost in a crash. When the
// file cannot be opened, logging is a silent no-op.

// Appends `message` and a line feed to the log file.
void Log(const char* message);

// Points the log at another file (tests, the command-line tool); nullptr
// restores the add-on's fixed path.
void SetLogPath(const char* path);

// The file the log currently writes to.
const char* GetLogPath();
