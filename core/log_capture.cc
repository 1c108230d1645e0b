#include "core/log_capture.h"

#include "core/root_object.h"

TLogCapture::TLogCapture() : previous_(TRootObject::GetCoreLogger()) {
  TRootObject::SetCoreLogger(this);
}

TLogCapture::~TLogCapture() { TRootObject::SetCoreLogger(previous_); }

void TLogCapture::Log(int level, const std::string& text) { lines_.emplace_back(level, text); }
