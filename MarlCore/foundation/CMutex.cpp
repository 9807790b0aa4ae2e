// SPDX-License-Identifier: MIT
#include <MarlCore/foundation/CMutex.h>

namespace halyard {

void CConditionalMutex::lockWhenValueSet(int value) {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_valueChanged.wait(lock, [this, value] { return m_value == value; });
    lock.release();  // the caller holds it until unlockAndSetValue
}

void CConditionalMutex::unlockAndSetValue(int value) {
    m_value = value;
    // Woken under the lock: a waiter may destroy this object as soon as it gets the lock.
    m_valueChanged.notify_all();
    m_mutex.unlock();
}

}  // namespace halyard
