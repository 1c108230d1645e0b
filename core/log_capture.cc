#include "core/log_capture.h"

#include "core/root_object.h"

TLogCapture::TLogCapture() : previous_(TRootObject::SetThreadLogger(this)) {}

TLogCapture::~TLogCapture() { TRootObject::SetThreadLogger(previous_); }

void TLogCapture::Log(int level, const std::string& text) { lines_.emplace_back(level, text); }
