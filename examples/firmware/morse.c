/* SPDX-License-Identifier: MIT
 *
 * A beacon for the ATmega328P at 16 MHz: it keys its texts in Morse code on the
 * LED at PB5 and echoes them on the serial port, 9600 baud. A boot section at
 * 0x7E00, where the fuses send the reset, starts it. Its HEX file is the input
 * of the demo and of the examples.
 */

#include <avr/boot.h>
#include <avr/interrupt.h>
#include <avr/io.h>
#include <avr/pgmspace.h>
#include <avr/sleep.h>
#include <stdint.h>

#define LED _BV(PB5)
#define UNIT_MS 80

/* One letter: the number of signs, and the signs from bit 0 on, 1 for a dash.
 */
struct letter {
  uint8_t count : 3;
  uint8_t signs : 5;
};

static const struct letter letters[26] PROGMEM = {
    {2, 0x02}, {4, 0x01}, {4, 0x05}, {3, 0x01}, {1, 0x00}, {4, 0x04}, {3, 0x03},
    {4, 0x00}, {2, 0x00}, {4, 0x0E}, {3, 0x05}, {4, 0x02}, {2, 0x03}, {2, 0x01},
    {3, 0x07}, {4, 0x06}, {4, 0x0B}, {3, 0x02}, {3, 0x00}, {1, 0x01}, {3, 0x04},
    {4, 0x08}, {3, 0x06}, {4, 0x09}, {4, 0x0D}, {4, 0x03},
};

static const char banner[] PROGMEM = "Morse beacon 1.0\r\n";
static const char callText[] PROGMEM = "CQ CQ DE BEACON";
static const char foxText[] PROGMEM =
    "THE QUICK BROWN FOX JUMPS OVER THE LAZY DOG";
static const char endText[] PROGMEM = "END OF MESSAGE";

static const char* const texts[] PROGMEM = {callText, foxText, endText};

/* Lengths in units. These can be changed while it runs, so they lie in RAM;
 * their first values lie in flash, behind the code. */
static volatile struct {
  uint8_t dash;
  uint8_t letterGap;
  uint8_t wordGap;
  uint16_t textGap;
} lengths = {3, 2, 4, 20};

/* Counted by the timer, one per millisecond. */
static volatile uint16_t milliseconds;

ISR(TIMER0_COMPA_vect) {
  ++milliseconds;
}

static uint16_t now(void) {
  const uint8_t status = SREG;
  cli();
  const uint16_t time = milliseconds;
  SREG = status;
  return time;
}

static void waitUnits(uint16_t units) {
  for (; units != 0; --units) {
    const uint16_t start = now();
    while ((uint16_t)(now() - start) < UNIT_MS) {
      sleep_mode();
    }
  }
}

static void sendByte(uint8_t byte) {
  loop_until_bit_is_set(UCSR0A, UDRE0);
  UDR0 = byte;
}

static void sendText(const char* text) {
  for (uint8_t byte; (byte = pgm_read_byte(text)) != 0; ++text) {
    sendByte(byte);
  }
}

static void keyLetter(char character) {
  struct letter letter;
  memcpy_P(&letter, &letters[character - 'A'], sizeof letter);
  for (uint8_t i = 0; i < letter.count; ++i) {
    PORTB |= LED;
    waitUnits(letter.signs >> i & 1 ? lengths.dash : 1);
    PORTB &= (uint8_t)~LED;
    waitUnits(1);
  }
  waitUnits(lengths.letterGap);
}

static void keyText(const char* text) {
  for (char character; (character = (char)pgm_read_byte(text)) != 0; ++text) {
    sendByte((uint8_t)character);
    if (character == ' ') {
      waitUnits(lengths.wordGap);
    } else {
      keyLetter(character);
    }
  }
  sendText(PSTR("\r\n"));
  waitUnits(lengths.textGap);
}

int main(void) {
  DDRB |= LED;
  TCCR0A = _BV(WGM01); /* counts to OCR0A, a millisecond at 16 MHz / 64 */
  TCCR0B = _BV(CS01) | _BV(CS00);
  OCR0A = 249;
  TIMSK0 = _BV(OCIE0A);
  UBRR0 = 103; /* 9600 baud */
  UCSR0B = _BV(TXEN0);
  sei();

  sendText(banner);
  for (;;) {
    for (uint8_t i = 0; i < sizeof texts / sizeof texts[0]; ++i) {
      keyText((const char*)pgm_read_ptr(&texts[i]));
    }
  }
}

/* The reset comes here. Runs the application, or, where the flash holds none,
 * lights the LED and stops. Nothing is set up yet, so it needs no stack. */
BOOTLOADER_SECTION __attribute__((naked, used)) void bootMain(void) {
  __asm__ volatile(
      "clr r1\n\t"
      "clr r30\n\t"
      "clr r31\n\t"
      "lpm r24, Z+\n\t"
      "lpm r25, Z\n\t"
      "and r24, r25\n\t"
      "cpi r24, 0xFF\n\t"
      "breq 1f\n\t"
      "jmp 0\n"
      "1:\n\t"
      "sbi %[ddr], %[bit]\n\t"
      "sbi %[port], %[bit]\n"
      "2:\n\t"
      "rjmp 2b\n" ::[ddr] "I"(_SFR_IO_ADDR(DDRB)),
      [port] "I"(_SFR_IO_ADDR(PORTB)), [bit] "I"(PB5));
}
