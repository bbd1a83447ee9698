#include "ClientServerQueue.h"

namespace OrynRti {

DtClientServerWriter::~DtClientServerWriter() = default;

DtClientServerReader::~DtClientServerReader() = default;

}  // namespace OrynRti
