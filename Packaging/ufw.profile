[Brenvoka]
title=Brenvoka
description=Announcements of media servers
ports=3001/udp
