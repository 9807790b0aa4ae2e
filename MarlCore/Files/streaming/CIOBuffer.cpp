// SPDX-License-Identifier: MIT
#include <MarlCore/Files/streaming/CIOBuffer.h>

namespace marl {

CIOBuffer::~CIOBuffer() {
    setState(kDead);
}

}  // namespace marl
