# logind writes the device's files when a session asks it to; the mock does the same, so the island
# hears its own change come back, as it does from the kernel. `root` is set before this runs.
session = bus.get_object('org.freedesktop.login1', '/org/freedesktop/login1')
session.AddSession('auto', 'seat0', dbus.UInt32(1000), 'tester', True, dbus_interface='org.freedesktop.DBus.Mock')
auto = bus.get_object('org.freedesktop.login1', '/org/freedesktop/login1/session/auto')
auto.AddMethod('org.freedesktop.login1.Session', 'SetBrightness', 'ssu', '',
    "import os\n"
    "folder = os.path.join('" + root + "', args[0], args[1])\n"
    "open(os.path.join(folder, 'brightness'), 'w').write('%d\\n' % args[2])\n"
    "open(os.path.join(folder, 'actual_brightness'), 'w').write('%d\\n' % args[2])\n",
    dbus_interface='org.freedesktop.DBus.Mock')
