# UPower's keyboard light, which its template lacks, at 3 of 10.
interface = 'org.freedesktop.UPower.KbdBacklight'
main = bus.get_object('org.freedesktop.UPower', '/org/freedesktop/UPower')
main.AddObject('/org/freedesktop/UPower/KbdBacklight', interface, {'Level': dbus.Int32(3)}, [
    ('GetMaxBrightness', '', 'i', 'ret = 10'),
    ('GetBrightness', '', 'i', 'ret = self.Get("' + interface + '", "Level")'),
    ('SetBrightness', 'i', '', 'self.Set("' + interface + '", "Level", args[0]); '
                               'self.EmitSignal("' + interface + '", "BrightnessChanged", "i", [args[0]])'),
], dbus_interface='org.freedesktop.DBus.Mock')
