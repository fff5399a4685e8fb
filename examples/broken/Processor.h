#pragma once

// What broken plug-ins do in assembler.

/// Copies `count` bytes from the last to the first, and leaves string instructions going downwards.
inline void CopyDownwards(const unsigned char* source, unsigned char* target, unsigned count) {
    __asm__ volatile("std; rep movsb" : "+S"(source), "+D"(target), "+c"(count) : : "memory");
}

/// Changes ebx and does not say so.
inline void ChangeRegister(unsigned long number) {
    __asm__ volatile("movl $5, %%ebx" : : "r"(number));
}

/// Changes ebx, which the compiler then keeps.
inline void ChangeRegisterOpenly(unsigned long number) {
    __asm__ volatile("movl $5, %%ebx" : : "r"(number) : "ebx");
}

inline unsigned short FloatingControl() {
    unsigned short control = 0;
    __asm__ volatile("fnstcw %0" : "=m"(control));
    return control;
}

inline void SetFloatingControl(unsigned short control) {
    __asm__ volatile("fldcw %0" : : "m"(control));
}

/// Makes a whole number in the way that the mode says.
inline long Rounded(double number) {
    long whole = 0;
    __asm__ volatile("fldl %1; fistpl %0" : "=m"(whole) : "m"(number) : "memory");
    return whole;
}
